#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>

namespace Zyn {
namespace UiBase {

// The host's icon set. Names are file names ("db_drone.png") or bare
// names ("ap_gcp"); they are looked up in the host's images
// (":/host/images/"), then in images loaded plug-ins bring
// (":/resources/images/"). An unknown name answers a conspicuous
// placeholder icon, never a null one.
class QtUiToolkit {
public:
    static QtUiToolkit* Instance();

    QIcon getIcon(const QString& name) const;
    QPixmap getPixmap(const QString& name, const QSize& size = QSize(48, 48)) const;
    // Resource path the name resolves to; empty when it is unknown.
    QString resolveIconPath(const QString& name) const;
    // Style of the host's menus (context menus included).
    static QString mainMenuStyleSheet();

private:
    QtUiToolkit() = default;
    static QIcon fallbackIcon();
};

} // namespace UiBase
} // namespace Zyn
