#include "GcpProxyModel.h"

#include <uitoolkit/ThumbnailListModel.h>

namespace Zyn {
namespace AppGcp {

using UiToolkit::ThumbnailListModel;

GcpProxyModel::GcpProxyModel(QObject* parent)
    : ThumbnailProxyModel(parent)
{
}

GcpProxyModel::~GcpProxyModel() = default;

void GcpProxyModel::setGpsFilter(const QStringList& passing)
{
    m_filtered = true;
    m_rank.clear();
    for (int i = 0; i < passing.size(); ++i)
        m_rank.insert(passing.at(i), i);
    invalidate();
}

void GcpProxyModel::clearGpsFilter()
{
    if (!m_filtered)
        return;
    m_filtered = false;
    m_rank.clear();
    invalidate();
}

bool GcpProxyModel::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    if (m_filtered) {
        const int a = m_rank.value(left.data(ThumbnailListModel::PathRole).toString(), INT_MAX);
        const int b = m_rank.value(right.data(ThumbnailListModel::PathRole).toString(), INT_MAX);
        if (a != b)
            return a < b;
    }
    return ThumbnailProxyModel::lessThan(left, right);
}

bool GcpProxyModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    if (m_filtered) {
        const QModelIndex index = sourceModel()->index(sourceRow, 0, sourceParent);
        if (!m_rank.contains(index.data(ThumbnailListModel::PathRole).toString()))
            return false;
    }
    return ThumbnailProxyModel::filterAcceptsRow(sourceRow, sourceParent);
}

} // namespace AppGcp
} // namespace Zyn
