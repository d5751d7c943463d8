#pragma once

#include <QSortFilterProxyModel>
#include <QStringList>

namespace Zyn {
namespace UiToolkit {

// Display order and name filter of a ThumbnailListModel. Names sort the way
// people read them ("IMG_2" before "IMG_10"); ties go by full path.
class ThumbnailProxyModel : public QSortFilterProxyModel {
    Q_OBJECT
public:
    enum SortMode { AsAdded = 0, ByName = 1 };
    Q_ENUM(SortMode)

    explicit ThumbnailProxyModel(QObject* parent = nullptr);
    ~ThumbnailProxyModel() override;

    void setSortMode(SortMode mode, Qt::SortOrder order = Qt::AscendingOrder);
    SortMode sortMode() const { return m_mode; }

    // Shows only photos whose file name contains text (case-insensitive).
    void setNameFilter(const QString& text);
    QString nameFilter() const { return m_filter; }

    // Negative, zero or positive as a sorts before, with or after b: case
    // is ignored and runs of digits compare as numbers ("IMG_2" < "IMG_10").
    // Independent of the locale, so the order is the same for every user.
    static int naturalCompare(const QString& a, const QString& b);

    // Paths in display order, all of them or only the checked ones. The name
    // filter only narrows what is shown: hidden photos are listed too.
    QStringList pathsInOrder(bool checkedOnly = false) const;

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    SortMode m_mode = ByName;
    QString m_filter;
};

} // namespace UiToolkit
} // namespace Zyn
