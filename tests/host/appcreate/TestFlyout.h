#pragma once

#include <appcreate/CreateModelFlyout.h>

// A settings flyout whose answers the test chooses, standing in for an
// application's own flyout.
class TestFlyout : public Zyn::AppCreate::CreateModelFlyout {
    Q_OBJECT
public:
    TestFlyout(Zyn::AppCreate::MainState& state, QWidget* parent)
        : CreateModelFlyout(state, parent)
    {
        resize(240, 160);
    }

    void GetSettings(bool& mesh, bool& pointCloud, bool& orthoMap, float& pixelSizeMeters,
                     QString& coordSysId) const override
    {
        mesh = m_mesh;
        pointCloud = m_pointCloud;
        orthoMap = m_orthoMap;
        pixelSizeMeters = m_pixelSize;
        coordSysId = m_coordSys;
    }

    void setModelName(const QString& name) { m_modelName = name; }

    bool m_mesh = true;
    bool m_pointCloud = false;
    bool m_orthoMap = false;
    float m_pixelSize = 0.01f;
    QString m_coordSys = QStringLiteral("LL84");
};
