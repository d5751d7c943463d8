#include "ThumbnailProxyModel.h"

#include <utilities/Utilities.h>

#include <uitoolkit/ThumbnailListModel.h>

#include <QVector>

#include <algorithm>

namespace Zyn {
namespace UiToolkit {

ThumbnailProxyModel::ThumbnailProxyModel(QObject* parent) : QSortFilterProxyModel(parent)
{
    setSortRole(ThumbnailListModel::NameRole);
    setFilterRole(ThumbnailListModel::NameRole);
    setDynamicSortFilter(true);
    sort(0, Qt::AscendingOrder);
}

ThumbnailProxyModel::~ThumbnailProxyModel() = default;

void ThumbnailProxyModel::setSortMode(SortMode mode, Qt::SortOrder order)
{
    m_mode = mode;
    // Column -1 restores the source order.
    sort(mode == AsAdded ? -1 : 0, order);
}

void ThumbnailProxyModel::setNameFilter(const QString& text)
{
    if (text == m_filter)
        return;
    m_filter = text;
    invalidateFilter();
}

QStringList ThumbnailProxyModel::pathsInOrder(bool checkedOnly) const
{
    QStringList result;
    const QAbstractItemModel* source = sourceModel();
    if (!source)
        return result;
    QVector<QModelIndex> rows;
    const int count = source->rowCount();
    rows.reserve(count);
    for (int row = 0; row < count; ++row) {
        const QModelIndex idx = source->index(row, 0);
        if (!checkedOnly || idx.data(Qt::CheckStateRole).toInt() == Qt::Checked)
            rows.push_back(idx);
    }
    if (m_mode == ByName) {
        const bool descending = sortOrder() == Qt::DescendingOrder;
        std::stable_sort(rows.begin(), rows.end(), [this, descending](const QModelIndex& a, const QModelIndex& b) {
            return descending ? lessThan(b, a) : lessThan(a, b);
        });
    }
    result.reserve(rows.size());
    for (const QModelIndex& idx : qAsConst(rows))
        result << idx.data(ThumbnailListModel::PathRole).toString();
    return result;
}

int ThumbnailProxyModel::naturalCompare(const QString& a, const QString& b)
{
    return Utilities::naturalCompare(a, b);
}

bool ThumbnailProxyModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    const int byName = naturalCompare(left.data(ThumbnailListModel::NameRole).toString(),
                                          right.data(ThumbnailListModel::NameRole).toString());
    if (byName != 0)
        return byName < 0;
    return left.data(ThumbnailListModel::PathRole).toString() < right.data(ThumbnailListModel::PathRole).toString();
}

bool ThumbnailProxyModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    if (m_filter.isEmpty())
        return true;
    const QModelIndex idx = sourceModel()->index(sourceRow, 0, sourceParent);
    return idx.data(ThumbnailListModel::NameRole).toString().contains(m_filter, Qt::CaseInsensitive);
}

} // namespace UiToolkit
} // namespace Zyn
