#include "QtUiToolkit.h"

#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QPainter>
#include <QSet>
#include <QStringList>
#include <QtDebug>

static void initHostResources()
{
    Q_INIT_RESOURCE(host);
}

namespace Zyn {
namespace UiBase {

QtUiToolkit* QtUiToolkit::Instance()
{
    static QtUiToolkit* instance = [] {
        initHostResources();
        return new QtUiToolkit;
    }();
    return instance;
}

QString QtUiToolkit::resolveIconPath(const QString& name) const
{
    if (name.isEmpty())
        return QString();
    if (name.startsWith(QLatin1Char(':')))
        return QFile::exists(name) ? name : QString();

    QStringList names{name};
    if (QFileInfo(name).suffix().isEmpty())
        names = QStringList{name + QStringLiteral(".svg"), name + QStringLiteral(".png")};
    for (const QString& folder : {QStringLiteral(":/host/images/"), QStringLiteral(":/resources/images/")}) {
        for (const QString& n : names) {
            const QString path = folder + n;
            if (QFile::exists(path))
                return path;
        }
    }
    return QString();
}

QIcon QtUiToolkit::getIcon(const QString& name) const
{
    const QString path = resolveIconPath(name);
    if (!path.isEmpty())
        return QIcon(path);
    static QMutex mutex;
    static QSet<QString> reported;
    {
        QMutexLocker lock(&mutex);
        if (!reported.contains(name)) {
            reported.insert(name);
            qWarning() << "QtUiToolkit: no icon named" << name;
        }
    }
    return fallbackIcon();
}

QPixmap QtUiToolkit::getPixmap(const QString& name, const QSize& size) const
{
    return getIcon(name).pixmap(size);
}

QIcon QtUiToolkit::fallbackIcon()
{
    // Loud on purpose: a missing icon should be noticed, not blend in.
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(0xD0, 0x20, 0xA0), 4));
    p.setBrush(QColor(0xFF, 0xE0, 0xF6));
    p.drawRoundedRect(QRectF(3, 3, 58, 58), 8, 8);
    QFont f = p.font();
    f.setPixelSize(40);
    f.setBold(true);
    p.setFont(f);
    p.drawText(pixmap.rect(), Qt::AlignCenter, QStringLiteral("?"));
    p.end();
    return QIcon(pixmap);
}

QString QtUiToolkit::mainMenuStyleSheet()
{
    return QStringLiteral("QMenu { background: white; border: 1px solid #C8CED6; padding: 4px 0px; }"
                          "QMenu::item { padding: 6px 28px 6px 20px; color: #2F2F2F; }"
                          "QMenu::item:selected { background: #E1E7EE; }"
                          "QMenu::item:disabled { color: #A0A0A0; }"
                          "QMenu::separator { height: 1px; background: #E0E0E0; margin: 4px 8px; }");
}

} // namespace UiBase
} // namespace Zyn
