#pragma once

#include <uitoolkit/IThumbnailItem.h>

#include <QAbstractListModel>
#include <QHash>
#include <QSharedPointer>
#include <QStringList>
#include <QVector>

namespace Zyn {
namespace UiToolkit {

// The photos of a canvas in the order they were added, each with a check
// state saying whether it is used for processing (checked by default).
// Paths are unique within the model.
class ThumbnailListModel : public QAbstractListModel {
    Q_OBJECT
public:
    using ItemPtr = QSharedPointer<IThumbnailItem>;

    enum Roles {
        PathRole = Qt::UserRole + 1,
        NameRole,
        StateRole,
        ErrorRole,
        ItemRole, // the IThumbnailItem* (not owning)
    };

    explicit ThumbnailListModel(QObject* parent = nullptr);
    ~ThumbnailListModel() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Appends the items whose path is not in the model yet (nor earlier in
    // the list); answers the ones appended.
    QVector<ItemPtr> appendItems(const QVector<ItemPtr>& items);
    // Removes the given paths; answers those that were there, in model order.
    QStringList removePaths(const QStringList& paths);
    void clear();

    bool contains(const QString& path) const { return m_rowOfPath.contains(path); }
    int rowOf(const QString& path) const { return m_rowOfPath.value(path, -1); }
    ItemPtr itemAt(int row) const;
    ItemPtr itemForPath(const QString& path) const;
    QStringList paths() const;

    bool isChecked(int row) const;
    void setChecked(const QString& path, bool checked);
    void setAllChecked(bool checked);
    int checkedCount() const { return m_checkedCount; }

signals:
    // The check state of one or more photos changed.
    void checkedChanged();

private:
    struct Entry {
        ItemPtr item;
        bool checked = true;
    };
    void reindexFrom(int row);
    void onItemChanged(IThumbnailItem* item);

    QVector<Entry> m_entries;
    QHash<QString, int> m_rowOfPath;
    int m_checkedCount = 0;
};

} // namespace UiToolkit
} // namespace Zyn
