#pragma once

#include <coordsys/GcpCoordSysInfo.h>
#include <gcp/model/GcpInfo.h>

#include <QObject>

namespace Zyn {
namespace AppGcp {

// What the survey table asks of the map beside it. The map view controller
// implements it; the table works on without one.
class GcpMapBridge : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~GcpMapBridge() override = default;

    // The points to draw (owned by the table) and their coordinate system.
    virtual void setGcpData(const GcpMap* gcps, const AppCreate::GcpCoordSysInfo& coordSys) = 0;
    virtual void updateGcpPin(const QString& gcpName) = 0;
    virtual void removeGcpPin(const QString& gcpName) = 0;
    virtual void refreshGcpPins() = 0;
    virtual void navigateTo(const QString& gcpName) = 0;
    virtual void setCamerasVisible(bool visible) = 0;

signals:
    void tagPhotos(const QString& gcpName);
    void pinClicked(const QString& gcpName);
};

} // namespace AppGcp
} // namespace Zyn
