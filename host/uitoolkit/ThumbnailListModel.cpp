#include "ThumbnailListModel.h"

#include <QSet>

#include <algorithm>

namespace Zyn {
namespace UiToolkit {

ThumbnailListModel::ThumbnailListModel(QObject* parent) : QAbstractListModel(parent) {}

ThumbnailListModel::~ThumbnailListModel() = default;

int ThumbnailListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_entries.size();
}

QVariant ThumbnailListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_entries.size())
        return QVariant();
    const Entry& entry = m_entries.at(index.row());
    IThumbnailItem* item = entry.item.data();
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return item->displayName();
    case Qt::DecorationRole:
        return item->thumbnailPixmap();
    case Qt::ToolTipRole:
        return item->state() == IThumbnailItem::Failed && !item->errorText().isEmpty()
                   ? QStringLiteral("%1\n%2").arg(item->path(), item->errorText())
                   : item->path();
    case Qt::CheckStateRole:
        return entry.checked ? Qt::Checked : Qt::Unchecked;
    case PathRole:
        return item->path();
    case StateRole:
        return int(item->state());
    case ErrorRole:
        return item->errorText();
    case ItemRole:
        return QVariant::fromValue(static_cast<QObject*>(item));
    default:
        return QVariant();
    }
}

bool ThumbnailListModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || index.row() >= m_entries.size() || role != Qt::CheckStateRole)
        return false;
    Entry& entry = m_entries[index.row()];
    const bool checked = value.toInt() == Qt::Checked;
    if (entry.checked == checked)
        return true;
    entry.checked = checked;
    m_checkedCount += checked ? 1 : -1;
    emit dataChanged(index, index, {Qt::CheckStateRole});
    emit checkedChanged();
    return true;
}

Qt::ItemFlags ThumbnailListModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable | Qt::ItemNeverHasChildren;
}

QHash<int, QByteArray> ThumbnailListModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(PathRole, "path");
    names.insert(NameRole, "name");
    names.insert(StateRole, "state");
    names.insert(ErrorRole, "error");
    return names;
}

QVector<ThumbnailListModel::ItemPtr> ThumbnailListModel::appendItems(const QVector<ItemPtr>& items)
{
    QVector<ItemPtr> fresh;
    QSet<QString> batch;
    for (const ItemPtr& item : items) {
        if (!item)
            continue;
        const QString path = item->path();
        if (m_rowOfPath.contains(path) || batch.contains(path))
            continue;
        batch.insert(path);
        fresh.push_back(item);
    }
    if (fresh.isEmpty())
        return fresh;

    const int first = m_entries.size();
    beginInsertRows(QModelIndex(), first, first + fresh.size() - 1);
    for (const ItemPtr& item : fresh) {
        m_rowOfPath.insert(item->path(), m_entries.size());
        m_entries.push_back(Entry{item, true});
        IThumbnailItem* raw = item.data();
        connect(raw, &IThumbnailItem::thumbnailChanged, this, [this, raw] { onItemChanged(raw); });
    }
    m_checkedCount += fresh.size();
    endInsertRows();
    emit checkedChanged();
    return fresh;
}

QStringList ThumbnailListModel::removePaths(const QStringList& paths)
{
    QVector<int> rows;
    for (const QString& path : paths) {
        const int row = m_rowOfPath.value(path, -1);
        if (row >= 0)
            rows.push_back(row);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    QStringList removed;
    for (int row : rows)
        removed << m_entries.at(row).item->path();
    if (rows.isEmpty())
        return removed;

    bool checkedRemoved = false;
    // Contiguous runs from the bottom, so earlier rows keep their numbers.
    int i = rows.size() - 1;
    while (i >= 0) {
        int last = rows.at(i);
        int first = last;
        while (i > 0 && rows.at(i - 1) == first - 1)
            first = rows.at(--i);
        --i;
        beginRemoveRows(QModelIndex(), first, last);
        for (int row = first; row <= last; ++row) {
            const Entry& entry = m_entries.at(row);
            disconnect(entry.item.data(), nullptr, this, nullptr);
            m_rowOfPath.remove(entry.item->path());
            if (entry.checked) {
                --m_checkedCount;
                checkedRemoved = true;
            }
        }
        m_entries.remove(first, last - first + 1);
        endRemoveRows();
    }
    reindexFrom(rows.first());
    if (checkedRemoved)
        emit checkedChanged();
    return removed;
}

void ThumbnailListModel::clear()
{
    if (m_entries.isEmpty())
        return;
    beginResetModel();
    for (const Entry& entry : qAsConst(m_entries))
        disconnect(entry.item.data(), nullptr, this, nullptr);
    const bool hadChecked = m_checkedCount > 0;
    m_entries.clear();
    m_rowOfPath.clear();
    m_checkedCount = 0;
    endResetModel();
    if (hadChecked)
        emit checkedChanged();
}

ThumbnailListModel::ItemPtr ThumbnailListModel::itemAt(int row) const
{
    return row >= 0 && row < m_entries.size() ? m_entries.at(row).item : ItemPtr();
}

ThumbnailListModel::ItemPtr ThumbnailListModel::itemForPath(const QString& path) const
{
    return itemAt(rowOf(path));
}

QStringList ThumbnailListModel::paths() const
{
    QStringList result;
    result.reserve(m_entries.size());
    for (const Entry& entry : m_entries)
        result << entry.item->path();
    return result;
}

bool ThumbnailListModel::isChecked(int row) const
{
    return row >= 0 && row < m_entries.size() && m_entries.at(row).checked;
}

void ThumbnailListModel::setChecked(const QString& path, bool checked)
{
    const int row = rowOf(path);
    if (row >= 0)
        setData(index(row), checked ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole);
}

void ThumbnailListModel::setAllChecked(bool checked)
{
    if (m_entries.isEmpty())
        return;
    bool changed = false;
    for (Entry& entry : m_entries) {
        changed = changed || entry.checked != checked;
        entry.checked = checked;
    }
    if (!changed)
        return;
    m_checkedCount = checked ? m_entries.size() : 0;
    emit dataChanged(index(0), index(m_entries.size() - 1), {Qt::CheckStateRole});
    emit checkedChanged();
}

void ThumbnailListModel::reindexFrom(int row)
{
    for (int r = std::max(0, row); r < m_entries.size(); ++r)
        m_rowOfPath.insert(m_entries.at(r).item->path(), r);
}

void ThumbnailListModel::onItemChanged(IThumbnailItem* item)
{
    const int row = m_rowOfPath.value(item->path(), -1);
    if (row < 0 || m_entries.at(row).item.data() != item)
        return;
    const QModelIndex changed = index(row);
    emit dataChanged(changed, changed, {Qt::DecorationRole, StateRole, ErrorRole, Qt::ToolTipRole});
}

} // namespace UiToolkit
} // namespace Zyn
