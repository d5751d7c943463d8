#include "GcpWalk.h"

#include <appcreate/CreateViewController.h>
#include <uibase/CommandBase.h>
#include <uitoolkit/ThumbnailListModel.h>
#include <uitoolkit/ZoomableImgWidget.h>
#include <utilities/Constants.h>
#include <utilities/ResourceStrings.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QSet>
#include <QClipboard>
#include <QListView>
#include <QMouseEvent>
#include <QSettings>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTimer>

#include <cmath>

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

GcpWalk::GcpWalk(AppCreate::CreateViewController* create, QWidget* window, const QString& photoDir, Wait wait,
                 Save save, Step done, QObject* parent)
    : QObject(parent)
    , m_create(create)
    , m_window(window)
    , m_photoDir(photoDir)
    , m_wait(std::move(wait))
    , m_save(std::move(save))
    , m_done(std::move(done))
{
}

QWidget* GcpWalk::panel() const
{
    return m_window;
}

namespace {
QString readText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}
} // namespace

void GcpWalk::prepare(const QString& photoDir)
{
    const QString code = readText(QDir(photoDir).filePath(QStringLiteral("gcp_truth_crs.txt"))).trimmed();
    const QString points = readText(QDir(photoDir).filePath(QStringLiteral("gcp_truth.txt")));
    if (code.isEmpty() || points.isEmpty())
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
                   // Every photo in the browser again: photos without a GPS
                   // position show targets too.
                   if (auto* box = panel()->findChild<QCheckBox*>(QStringLiteral("cb_gps_filter")))
                       box->setChecked(false);
                   // Each point marked once at its true pixel, on a photo
                   // with a GPS position; the editor suggests the rest.
                   QSet<QString> points;
                   QSet<QString>& located = m_located;
                   for (const QString& row : readText(QDir(m_photoDir).filePath(QStringLiteral("manifest.csv")))
                                                 .split(QLatin1Char('\n'), Qt::SkipEmptyParts))
                       if (row.section(QLatin1Char(','), 4, 4) == QLatin1String("1"))
                           located.insert(row.section(QLatin1Char(','), 0, 0));
                   m_truthRows = readText(QDir(m_photoDir).filePath(QStringLiteral("gcp_pixels.csv")))
                                     .split(QLatin1Char('\n'), Qt::SkipEmptyParts)
                                     .mid(1);
                   for (const QString& row : qAsConst(m_truthRows))
                       if (!points.contains(row.section(QLatin1Char(','), 1, 1))
                           && located.contains(row.section(QLatin1Char(','), 0, 0))) {
                           points.insert(row.section(QLatin1Char(','), 1, 1));
                           m_toPlace << row;
                       }
                   placeNext();
               });
           });
}

void GcpWalk::placeNext()
{
    if (m_toPlace.isEmpty()) {
        auto* table = visibleChild<QTableWidget>(panel(), QStringLiteral("gcp_names_tableWidget"));
        if (table)
            table->clearSelection();
        QTimer::singleShot(800, this, [this] {
            m_save(m_window->grab(), QStringLiteral("06-survey-points-all-valid.png"));
            m_done();
        });
        return;
    }
    const QStringList f = m_toPlace.takeFirst().split(QLatin1Char(','));
    const QPoint pixel(int(std::floor(f.value(2).toDouble())), int(std::floor(f.value(3).toDouble())));
    m_point = f.value(1);
    m_marked = f.value(0);
    auto* table = visibleChild<QTableWidget>(panel(), QStringLiteral("gcp_names_tableWidget"));
    for (int row = 0; table && row < table->rowCount(); ++row)
        if (table->item(row, 0)->text() == f.value(1))
            table->selectRow(row);
    openPhoto(f.value(0), [this, pixel] { placeMarker(pixel); });
}

void GcpWalk::openPhoto(const QString& file, const Step& then)
{
    const QString path = QDir(m_photoDir).filePath(file);
    // The photo from the browser, as a double click opens it.
    auto* browser = panel()->findChild<QListView*>(QStringLiteral("thumbnail_browser"));
    QAbstractItemModel* model = browser ? browser->model() : nullptr;
    for (int row = 0; model && row < model->rowCount(); ++row) {
        const QModelIndex index = model->index(row, 0);
        if (index.data(UiToolkit::ThumbnailListModel::PathRole).toString() == path)
            emit browser->activated(index);
    }
    m_wait(
        [this, path] {
            auto* pane = visibleChild<UiToolkit::ZoomableImgWidget>(panel(), QStringLiteral("pane_image"));
            return pane && pane->imagePath() == path && pane->isFullResolution();
        },
        20000, QStringLiteral("the photo %1 did not open").arg(file), then);
}

QString GcpWalk::assistStatus() const
{
    auto* label = visibleChild<QLabel>(panel(), QStringLiteral("label_assist_status"));
    return label ? label->text() : QString();
}

void GcpWalk::pressKey(int key)
{
    QWidget* target = visibleChild<UiToolkit::ZoomableImgWidget>(panel(), QStringLiteral("pane_image"));
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QApplication::sendEvent(target ? target : panel(), &press);
}

// The first point's suggestions taken one by one with Enter, after a look
// at the photo browser and at one suggestion.
void GcpWalk::acceptWithKeys()
{
    pressKey(Qt::Key_Escape);
    QTimer::singleShot(800, this, [this] {
        m_save(m_window->grab(), QStringLiteral("05a-suggestions-after-one-mark.png"));
        QString other;
        for (const QString& row : qAsConst(m_truthRows))
            if (other.isEmpty() && row.section(QLatin1Char(','), 1, 1) == m_point
                && row.section(QLatin1Char(','), 0, 0) != m_marked
                && m_located.contains(row.section(QLatin1Char(','), 0, 0)))
                other = row.section(QLatin1Char(','), 0, 0);
        openPhoto(other, [this] {
            QTimer::singleShot(600, this, [this] {
                m_save(m_window->grab(), QStringLiteral("05b-suggestion-on-photo.png"));
                pressEnterWhileSuggested(120);
            });
        });
    });
}

void GcpWalk::pressEnterWhileSuggested(int left)
{
    // Each accepted mark starts the search again; its suggestions come back
    // when it ends, so a running search is waited for, not taken as the end.
    if (left > 0 && assistStatus().startsWith(QLatin1String("Searching"))) {
        QTimer::singleShot(250, this, [this, left] { pressEnterWhileSuggested(left - 1); });
        return;
    }
    if (left <= 0 || !assistStatus().contains(QLatin1String("wait"))) {
        pressKey(Qt::Key_Escape);
        QTimer::singleShot(300, this, [this] { placeNext(); });
        return;
    }
    pressKey(Qt::Key_Return);
    QTimer::singleShot(250, this, [this, left] { pressEnterWhileSuggested(left - 1); });
}

// The other points' suggestions taken at once.
void GcpWalk::acceptAll()
{
    if (auto* button = visibleChild<QPushButton>(panel(), QStringLiteral("button_accept_all")))
        button->click();
    QTimer::singleShot(300, this, [this] {
        pressKey(Qt::Key_Escape);
        placeNext();
    });
}

void GcpWalk::placeMarker(const QPoint& pixel)
{
    auto* pane = visibleChild<UiToolkit::ZoomableImgWidget>(panel(), QStringLiteral("pane_image"));
    // Zoomed in on the target, as a surveyor would, then clicked at its centre.
    pane->centreOn(QPointF(pixel) + QPointF(0.5, 0.5), pane->closeScale());
    click(pane, pane->getLocalPoint(pixel));
    ++m_placed;
    QTimer::singleShot(m_placed == 1 ? 1200 : 300, this, [this] {
        if (m_placed == 1)
            m_save(m_window->grab(), QStringLiteral("05-marker-placed-with-magnifier.png"));
        m_wait([this] { return assistStatus().contains(QLatin1String("wait")); }, 30000,
               QStringLiteral("no suggestions came for %1").arg(m_point), [this] {
                   // Suggestions arrive photo by photo; let the search end.
                   m_wait([this] { return !assistStatus().startsWith(QLatin1String("Searching")); }, 30000,
                          QStringLiteral("the search for %1 did not end").arg(m_point),
                          [this] { m_placed == 1 ? acceptWithKeys() : acceptAll(); });
               });
    });
}

} // namespace Host
} // namespace Zyn
