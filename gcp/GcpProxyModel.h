#pragma once

#include <uitoolkit/ThumbnailProxyModel.h>

#include <QHash>
#include <QStringList>

namespace Zyn {
namespace AppGcp {

// The marker editor's photos: all of them by name, or, while the GPS filter
// is on, only the photos near the selected point, nearest first.
class GcpProxyModel : public UiToolkit::ThumbnailProxyModel {
    Q_OBJECT
public:
    explicit GcpProxyModel(QObject* parent = nullptr);
    ~GcpProxyModel() override;

    // passing: the photos that pass, nearest first.
    void setGpsFilter(const QStringList& passing);
    void clearGpsFilter();
    bool isGpsFiltered() const { return m_filtered; }
    int gpsPassingCount() const { return m_rank.size(); }

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    bool m_filtered = false;
    QHash<QString, int> m_rank;
};

} // namespace AppGcp
} // namespace Zyn
