#include "GcpWalk.h"

#include <appcreate/CreateViewController.h>
#include <appcreate/PhotoGps.h>
#include <gis/Gis.h>
#include <uibase/CommandBase.h>
#include <uitoolkit/ZoomableImgWidget.h>
#include <utilities/Constants.h>
#include <utilities/ResourceStrings.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QClipboard>
#include <QListView>
#include <QMouseEvent>
#include <QSettings>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTimer>

namespace Zyn {
namespace Host {

namespace {
template <class T>
T* visibleChild(QWidget* root, const QString& name)
{
    if (!root)
        return nullptr;
    for (T* w : root->findChildren<T*>(name))
        if (w->isVisible())
            return w;
    return nullptr;
}

void click(QWidget* w, const QPoint& at)
{
    QMouseEvent press(QEvent::MouseButtonPress, at, w->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, at, w->mapToGlobal(at), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QApplication::sendEvent(w, &press);
    QApplication::sendEvent(w, &release);
}
} // namespace

GcpWalk::GcpWalk(AppCreate::CreateViewController* create, QWidget* window, const QStringList& photos, Wait wait,
                 Save save, Step done, QObject* parent)
    : QObject(parent)
    , m_create(create)
    , m_window(window)
    , m_photos(photos)
    , m_wait(std::move(wait))
    , m_save(std::move(save))
    , m_done(std::move(done))
{
}

QString GcpWalk::pointsAtPhotos(const QStringList& photos, QString* zoneCode)
{
    QString zone;
    QString text = QStringLiteral("Name\tEasting\tNorthing\tElevation\n");
    int n = 0;
    for (const QString& photo : photos) {
        AppCreate::PhotoGpsPosition gps;
        if (!AppCreate::readPhotoGpsPosition(photo, &gps) || (gps.latitude == 0.0 && gps.longitude == 0.0))
            continue;
        if (zone.isEmpty())
            Tarn::GIS::getUTMZoneForGPSCoordinates(gps.longitude, gps.latitude, zone);
        double x = gps.longitude, y = gps.latitude, z = 0.0;
        if (zone.isEmpty() || !Tarn::GIS::transformCoordFromLL84(zone, x, y, z))
            continue;
        // The ground under the camera, flown about 120 m above it.
        text += QStringLiteral("GCP-%1\t%2\t%3\t%4\n")
                    .arg(QChar('A' + n))
                    .arg(x, 0, 'f', 3)
                    .arg(y, 0, 'f', 3)
                    .arg(gps.altitude - 120.0, 0, 'f', 2);
        ++n;
    }
    if (zoneCode)
        *zoneCode = zone;
    return n ? text : QString();
}

QWidget* GcpWalk::panel() const
{
    return m_window;
}

void GcpWalk::prepare(const QStringList& photos)
{
    QString code;
    const QString points =
        pointsAtPhotos({photos.value(2), photos.value(4), photos.value(8), photos.value(10)}, &code);
    if (points.isEmpty())
        return;
    QSettings settings;
    settings.beginGroup(QString::fromLatin1(Utilities::CFG_ELEM_GENERAL));
    settings.setValue(Resource::String::SETTINGS_GCP_COORD_SYSTEM_IN,
                      QStringLiteral("%1##WGS 84 / UTM zone %2N##%3##1##WGS 84##0")
                          .arg(code, code.right(2), code.mid(5)));
    settings.endGroup();
    QApplication::clipboard()->setText(points);
}

void GcpWalk::start()
{
    UiBase::CommandBase* command = nullptr;
    if (m_create)
        for (UiBase::CommandBase* c : m_create->findChildren<UiBase::CommandBase*>())
            if (c->text() == QString(Resource::String::GCP_COMMAND_TEXT))
                command = c;
    if (!command) {
        m_done();
        return;
    }
    const QPointer<UiBase::CommandBase> guard(command);
    m_wait([guard] { return guard && guard->isEnabled(); }, 20000, QStringLiteral("the Survey Points command stayed off"),
           [this, guard] {
               guard->trigger();
               m_wait([this] { return visibleChild<QTableWidget>(panel(), QStringLiteral("gcp_names_tableWidget")); },
                      10000, QStringLiteral("the survey points table did not open"), [this] { pastePoints(); });
           });
}

void GcpWalk::pastePoints()
{
    auto* table = visibleChild<QTableWidget>(panel(), QStringLiteral("gcp_names_tableWidget"));
    // The paste may ask questions; the walk answers them with their default.
    auto* answer = new QTimer(this);
    answer->setInterval(200);
    connect(answer, &QTimer::timeout, this, [] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            dialog->accept();
    });
    answer->start();
    QTimer::singleShot(5000, answer, &QObject::deleteLater);
    for (QAction* action : table->actions())
        if (action->shortcut() == QKeySequence(QKeySequence::Paste))
            action->trigger();
    table->selectRow(0);
    auto* filter = panel()->findChild<QCheckBox*>(QStringLiteral("checkBox_filterByGps"));
    if (filter)
        filter->setChecked(true);
    m_wait([filter, table] { return table->rowCount() > 0 && (!filter || filter->isEnabled()); }, 20000,
           QStringLiteral("the pasted points or the photo filter did not arrive"), [this] {
               QTimer::singleShot(800, this, [this] {
                   m_save(m_window->grab(), QStringLiteral("04-survey-points-photos-near-point.png"));
                   openPhoto();
               });
           });
}

void GcpWalk::openPhoto()
{
    auto* browser = visibleChild<QListView>(panel(), QStringLiteral("thumbnail_browser"));
    if (!browser || !browser->model() || browser->model()->rowCount() == 0) {
        m_done();
        return;
    }
    emit browser->activated(browser->model()->index(0, 0));
    m_wait(
        [this] {
            auto* pane = visibleChild<UiToolkit::ZoomableImgWidget>(panel(), QStringLiteral("pane_image"));
            return pane && pane->isFullResolution();
        },
        20000, QStringLiteral("the photo did not open"), [this] { placeMarker(); });
}

void GcpWalk::placeMarker()
{
    auto* pane = visibleChild<UiToolkit::ZoomableImgWidget>(panel(), QStringLiteral("pane_image"));
    // The nearest photo was taken right above the point: it is at the centre.
    const QPoint centre(pane->imageSize().width() / 2, pane->imageSize().height() / 2);
    pane->centreOn(QPointF(centre) + QPointF(0.5, 0.5), pane->fitScale() * 3.0);
    click(pane, pane->getLocalPoint(centre));
    QTimer::singleShot(1200, this, [this] {
        m_save(m_window->grab(), QStringLiteral("05-marker-placed-with-magnifier.png"));
        m_done();
    });
}

} // namespace Host
} // namespace Zyn
