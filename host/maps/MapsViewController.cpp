#include "MapsViewController.h"

#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <utilities/Utilities.h>

#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QLabel>
#include <QStackedWidget>
#include <QTimer>
#include <QUrlQuery>
#include <QWebChannel>
#include <QWebEnginePage>
#include <QWebEngineSettings>
#include <QWebEngineView>

#include <algorithm>

namespace Zyn {
namespace UiToolkit {

// The object the page reaches through the web channel.
class MapBridge : public QObject {
    Q_OBJECT
public:
    explicit MapBridge(MapsViewController* owner) : QObject(owner), m_owner(owner) {}
public slots:
    void pinClicked(const QString& name) { emit m_owner->pinClicked(name); }
    void tagPhotoLinkClicked(const QString& name) { emit m_owner->tagPhotoLinkClicked(name); }
    void navigateRequested(const QString& name) { emit m_owner->navigateRequested(name); }
private:
    MapsViewController* m_owner;
};

namespace {

// Page errors would otherwise vanish inside the web process.
class LoggingPage : public QWebEnginePage {
public:
    using QWebEnginePage::QWebEnginePage;
protected:
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message, int line,
                                  const QString& source) override
    {
        if (level == ErrorMessageLevel)
            qWarning("map page: %s (%s:%d)", qPrintable(message), qPrintable(source), line);
    }
};

QString wrapped(const QString& script)
{
    return QLatin1String("try{") + script + QLatin1String("}catch(e){console.error(e&&e.stack?e.stack:String(e));}");
}

QString cssColour(const QColor& c)
{
    return QStringLiteral("rgba(%1,%2,%3,%4)").arg(c.red()).arg(c.green()).arg(c.blue()).arg(c.alphaF());
}

QString numberText(double value)
{
    return QString::number(value, 'g', 12);
}

} // namespace

const QString MapsViewController::TileUrlTemplateKey = QStringLiteral("Map/TileUrlTemplate");
const QString MapsViewController::LocalTileFolderKey = QStringLiteral("Map/LocalTileFolder");

QStringList MapsViewController::PageFunctions::all() const
{
    return {setCamera, setGcpPin, setCameraIcon, setCameraClusterIcon, setGcpPinIcon,
            setGcpPinClusterIcon, removeCamera, removeGcpPin, clearGcpPins};
}

MapsViewController::MapsViewController(const QString& identifier, const PageFunctions& functions, QObject* parent)
    : BaseViewController(parent), m_identifier(identifier), m_functions(functions)
{
    m_bridge = new MapBridge(this);
}

MapsViewController::~MapsViewController()
{
    // Nobody may wait forever for an answer that will not come.
    const auto pending = std::move(m_pending);
    for (const auto& call : pending)
        if (call.second)
            call.second(QVariant());
}

QString MapsViewController::pageFilePath()
{
    return QDir(Utilities::dataDirectory()).filePath(QStringLiteral("map/map.html"));
}

QString MapsViewController::jsString(const QString& text)
{
    // Most texts need no escape; they are shared, not copied.
    const auto special = [](QChar c) {
        const ushort u = c.unicode();
        return u == '\\' || u == '\'' || u == '\n' || u == '\r' || u == 0x2028 || u == 0x2029;
    };
    if (std::none_of(text.cbegin(), text.cend(), special))
        return text;
    QString out;
    out.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '\\': out += QLatin1String("\\\\"); break;
        case '\'': out += QLatin1String("\\'"); break;
        case '\n': out += QLatin1String("\\n"); break;
        case '\r': out += QLatin1String("\\r"); break;
        case 0x2028: out += QLatin1String("\\u2028"); break;
        case 0x2029: out += QLatin1String("\\u2029"); break;
        default: out += c;
        }
    }
    return out;
}

bool MapsViewController::isViewVisible() const
{
    return m_stack && m_stack->isVisible();
}

UiBase::BaseView* MapsViewController::loadView()
{
    auto* view = BaseViewController::loadView();
    m_stack = new QStackedWidget;
    m_web = new QWebEngineView;
    m_web->setPage(new LoggingPage(m_web));
    m_web->settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, true);
    m_web->settings()->setAttribute(QWebEngineSettings::LocalContentCanAccessFileUrls, true);
    auto* channel = new QWebChannel(m_web->page());
    channel->registerObject(m_identifier, m_bridge);
    m_web->page()->setWebChannel(channel);
    m_message = new QLabel;
    m_message->setAlignment(Qt::AlignCenter);
    m_message->setWordWrap(true);
    m_message->setObjectName(QStringLiteral("map_message"));
    m_message->setStyleSheet(QStringLiteral("QLabel { color: #505050; font: 14px Arial; padding: 20px; }"));
    m_stack->addWidget(m_web);
    m_stack->addWidget(m_message);
    m_stack->installEventFilter(this);
    view->setContentWidget(m_stack);

    connect(m_web.data(), &QWebEngineView::loadFinished, this, &MapsViewController::onLoadFinished);
    const QString file = pageFilePath();
    if (!QFileInfo(file).isFile()) {
        // Let the caller finish building the view before hearing of it.
        QTimer::singleShot(0, this, [this, file] {
            fail(tr("The map page was not found at %1. Reinstall the application to see the map.")
                     .arg(QDir::toNativeSeparators(file)));
        });
    } else {
        m_state = State::Loading;
        QUrl url = QUrl::fromLocalFile(file);
        QUrlQuery query;
        query.addQueryItem(QStringLiteral("bridge"), m_identifier);
        url.setQuery(query);
        m_web->load(url);
    }
    return view;
}

bool MapsViewController::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_stack && (event->type() == QEvent::Show || event->type() == QEvent::Hide))
        emit visibilityChanged(event->type() == QEvent::Show);
    return BaseViewController::eventFilter(watched, event);
}

void MapsViewController::onLoadFinished(bool ok)
{
    if (m_state == State::Ready || m_state == State::Failed)
        return;
    if (!ok) {
        fail(tr("The map page %1 could not be loaded.").arg(QDir::toNativeSeparators(pageFilePath())));
        return;
    }
    QStringList quoted;
    for (const QString& name : m_functions.all())
        quoted << QLatin1Char('\'') + jsString(name) + QLatin1Char('\'');
    const QString check = QStringLiteral("typeof zynPageCheck === 'function' ? zynPageCheck([%1]) : "
                                         "'The map page script (map.js) could not be loaded.'")
                              .arg(quoted.join(QLatin1Char(',')));
    QPointer<MapsViewController> self(this);
    m_web->page()->runJavaScript(check, [self](const QVariant& result) {
        if (!self)
            return;
        const QString problem = result.toString();
        if (!problem.isEmpty()) {
            self->fail(tr("The map cannot be shown: %1 The map files belong in %2.")
                           .arg(problem, QDir::toNativeSeparators(QFileInfo(pageFilePath()).absolutePath())));
            return;
        }
        self->m_state = State::Ready;
        auto* config = Services::ApplicationService::GetInstance()->GetConfigManager();
        const QString online = config->getString(TileUrlTemplateKey);
        const QString folder = config->getString(LocalTileFolderKey);
        const QString local = folder.isEmpty()
            ? QString()
            : QUrl::fromLocalFile(QDir(folder).absolutePath()).toString() + QStringLiteral("/{z}/{x}/{y}.png");
        if (!online.isEmpty() || !local.isEmpty())
            self->send(QStringLiteral("setTileLayers('%1','%2')").arg(jsString(online), jsString(local)), {});
        self->flush();
        emit self->pageLoaded();
    });
}

void MapsViewController::fail(const QString& message)
{
    m_state = State::Failed;
    m_error = message;
    if (m_message) {
        m_message->setText(message);
        m_stack->setCurrentWidget(m_message);
    }
    qWarning("%s", qPrintable(message));
    // Plain scripts stay queued; answers are due now.
    QList<QPair<QString, ScriptCallback>> keep;
    QList<ScriptCallback> answer;
    for (auto& call : m_pending) {
        if (call.second)
            answer << call.second;
        else
            keep << call;
    }
    m_pending = keep;
    emit pageFailed(message);
    for (const auto& callback : answer)
        callback(QVariant());
}

void MapsViewController::runScript(const QString& script)
{
    runScript(script, ScriptCallback());
}

void MapsViewController::runScript(const QString& script, ScriptCallback callback)
{
    scriptIssued(script);
    if (m_state == State::Ready) {
        send(script, std::move(callback));
    } else if (m_state == State::Failed && callback) {
        QTimer::singleShot(0, this, [callback] { callback(QVariant()); });
    } else {
        m_pending.append({script, std::move(callback)});
    }
}

void MapsViewController::runScripts(const QStringList& scripts)
{
    if (scripts.isEmpty())
        return;
    for (const QString& script : scripts)
        scriptIssued(script);
    QStringList parts;
    parts.reserve(scripts.size());
    for (const QString& script : scripts)
        parts << wrapped(script);
    const QString joined = parts.join(QLatin1Char('\n'));
    if (m_state == State::Ready) {
        m_web->page()->runJavaScript(joined);
    } else {
        m_pending.append({joined, ScriptCallback()});
    }
}

void MapsViewController::scriptIssued(const QString&) {}

void MapsViewController::send(const QString& script, ScriptCallback callback)
{
    if (!callback) {
        m_web->page()->runJavaScript(wrapped(script));
        return;
    }
    QPointer<MapsViewController> self(this);
    m_web->page()->runJavaScript(script, [self, callback](const QVariant& result) {
        if (self)
            callback(result);
    });
}

void MapsViewController::flush()
{
    // Plain scripts in a row go in one trip; order is kept.
    const auto pending = std::move(m_pending);
    m_pending.clear();
    QStringList plain;
    auto sendPlain = [&] {
        if (!plain.isEmpty())
            m_web->page()->runJavaScript(plain.join(QLatin1Char('\n')));
        plain.clear();
    };
    for (const auto& call : pending) {
        if (call.second) {
            sendPlain();
            send(call.first, call.second);
        } else {
            plain << (call.first.startsWith(QLatin1String("try{")) ? call.first : wrapped(call.first));
        }
    }
    sendPlain();
}

void MapsViewController::setCamera(const QString& key, double latitude, double longitude)
{
    runScript(QStringLiteral("%1('%2','%3','%4')")
                  .arg(m_functions.setCamera, jsString(key), numberText(latitude), numberText(longitude)));
}

void MapsViewController::removeCamera(const QString& key)
{
    runScript(QStringLiteral("%1('%2','true')").arg(m_functions.removeCamera, jsString(key)));
}

void MapsViewController::setGcpPin(const QString& name, double latitude, double longitude)
{
    runScript(QStringLiteral("%1('%2','%3','%4','%5')")
                  .arg(m_functions.setGcpPin, jsString(name), numberText(latitude), numberText(longitude),
                       jsString(Utilities::getElidedText(name, MaxCharCount))));
}

void MapsViewController::removeGcpPin(const QString& name)
{
    runScript(QStringLiteral("%1('%2')").arg(m_functions.removeGcpPin, jsString(name)));
}

void MapsViewController::clearGcpPins()
{
    runScript(QStringLiteral("%1()").arg(m_functions.clearGcpPins));
}

void MapsViewController::setCameraIcon(const QColor& fill, const QColor& border, int radius)
{
    runScript(QStringLiteral("%1('%2','%3',%4)").arg(m_functions.setCameraIcon, fill.name(), border.name()).arg(radius));
}

void MapsViewController::setCameraClusterIcon(const QColor& colour)
{
    runScript(QStringLiteral("%1('%2')").arg(m_functions.setCameraClusterIcon, cssColour(colour)));
}

void MapsViewController::setGcpPinIcon(const QString& imageUrl, const QSize& size)
{
    runScript(QStringLiteral("%1('%2',%3,%4)")
                  .arg(m_functions.setGcpPinIcon, jsString(imageUrl))
                  .arg(size.width())
                  .arg(size.height()));
}

void MapsViewController::setGcpPinClusterIcon(const QColor& colour)
{
    runScript(QStringLiteral("%1('%2')").arg(m_functions.setGcpPinClusterIcon, cssColour(colour)));
}

void MapsViewController::navigateTo(const QString& pinName)
{
    runScript(QStringLiteral("navigateTo('%1',false)").arg(jsString(pinName)));
}

} // namespace UiToolkit
} // namespace Zyn

#include "MapsViewController.moc"
