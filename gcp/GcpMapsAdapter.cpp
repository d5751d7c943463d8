#include "GcpMapsAdapter.h"

#include <gcp/map/GcpMapsVC.h>

namespace Zyn {
namespace AppGcp {

GcpMapsAdapter::GcpMapsAdapter(GcpMapsVC* maps, QObject* parent)
    : GcpMapBridge(parent), m_maps(maps)
{
    connect(maps, &GcpMapsVC::tagPhotos, this, &GcpMapBridge::tagPhotos);
    connect(maps, &GcpMapsVC::pinClicked, this, &GcpMapBridge::pinClicked);
}

void GcpMapsAdapter::setGcpData(const GcpMap* gcps, const AppCreate::GcpCoordSysInfo& coordSys)
{
    if (!m_maps)
        return;
    const bool systemChanged = coordSys != m_maps->coordSysInfo();
    m_maps->setGcps(gcps);
    m_maps->setCoordSysInfo(coordSys);
    if (systemChanged)
        m_maps->onGcpCoordsTypeChanged();
}

void GcpMapsAdapter::updateGcpPin(const QString& gcpName)
{
    if (m_maps)
        m_maps->onGcpInfoAdded(gcpName);
}

void GcpMapsAdapter::removeGcpPin(const QString& gcpName)
{
    if (m_maps)
        m_maps->onGcpInfoDeleted(gcpName);
}

void GcpMapsAdapter::refreshGcpPins()
{
    if (m_maps)
        m_maps->refreshGcpPins();
}

void GcpMapsAdapter::navigateTo(const QString& gcpName)
{
    if (m_maps)
        m_maps->navigateToGcp(gcpName);
}

void GcpMapsAdapter::setCamerasVisible(bool visible)
{
    if (m_maps)
        m_maps->setCamerasVisible(visible);
}

} // namespace AppGcp
} // namespace Zyn
