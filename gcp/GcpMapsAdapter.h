#pragma once

#include <gcp/GcpMapBridge.h>

#include <QPointer>

namespace Zyn {
namespace AppGcp {

class GcpMapsVC;

// Lets the survey table drive the web map through the bridge it knows.
class GcpMapsAdapter : public GcpMapBridge {
    Q_OBJECT
public:
    GcpMapsAdapter(GcpMapsVC* maps, QObject* parent = nullptr);

    void setGcpData(const GcpMap* gcps, const AppCreate::GcpCoordSysInfo& coordSys) override;
    void updateGcpPin(const QString& gcpName) override;
    void removeGcpPin(const QString& gcpName) override;
    void refreshGcpPins() override;
    void navigateTo(const QString& gcpName) override;
    void setCamerasVisible(bool visible) override;

private:
    QPointer<GcpMapsVC> m_maps;
};

} // namespace AppGcp
} // namespace Zyn
