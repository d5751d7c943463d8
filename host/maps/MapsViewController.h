#pragma once

#include <uibase/BaseViewController.h>

#include <QColor>
#include <QList>
#include <QPair>
#include <QPointer>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>
#include <QLabel>
#include <QStackedWidget>
#include <QWebEngineView>

#include <functional>

namespace Zyn {
namespace UiToolkit {

class MapBridge;

// A web map page in a QWebEngineView, created with the view. Scripts are
// sent as text; calls made before the page has loaded (or before the view
// exists) wait and go out in order once it has. Clicks
// on the page come back as signals through a QWebChannel object named by
// the controller's identifier.
class MapsViewController : public UiBase::BaseViewController {
    Q_OBJECT
public:
    // Longest pin label before it is elided.
    static constexpr int MaxCharCount = 12;
    // Name of the link (and action property) that centres the map on a pin.
    static constexpr const char* NavigateToLinkName = "navigate_to";
    // Configuration keys of the optional tile backgrounds.
    static const QString TileUrlTemplateKey;
    static const QString LocalTileFolderKey;

    using ScriptCallback = std::function<void(const QVariant&)>;

    // Page functions the generic operations below call.
    struct PageFunctions {
        QString setCamera, setGcpPin, setCameraIcon, setCameraClusterIcon, setGcpPinIcon,
            setGcpPinClusterIcon, removeCamera, removeGcpPin, clearGcpPins;
        QStringList all() const;
    };

    MapsViewController(const QString& identifier, const PageFunctions& functions, QObject* parent = nullptr);
    ~MapsViewController() override;

    QString identifier() const { return m_identifier; }
    const PageFunctions& pageFunctions() const { return m_functions; }

    // Runs one script; the callback, when given, receives its result (an
    // invalid QVariant when the page failed to load).
    void runScript(const QString& script);
    void runScript(const QString& script, ScriptCallback callback);
    // Several scripts in one trip to the page, each run even if one fails.
    void runScripts(const QStringList& scripts);

    bool isPageReady() const { return m_state == State::Ready; }
    bool isPageFailed() const { return m_state == State::Failed; }
    QString pageError() const { return m_error; }
    bool isViewVisible() const;
    QWebEngineView* webView() const { return m_web; }

    // The text as a JavaScript single-quoted string body.
    static QString jsString(const QString& text);
    // Where the shipped page is looked for.
    static QString pageFilePath();

    // Generic operations through the page function names.
    void setCamera(const QString& key, double latitude, double longitude);
    void removeCamera(const QString& key);
    void setGcpPin(const QString& name, double latitude, double longitude);
    void removeGcpPin(const QString& name);
    void clearGcpPins();
    void setCameraIcon(const QColor& fill, const QColor& border, int radius);
    void setCameraClusterIcon(const QColor& colour);
    void setGcpPinIcon(const QString& imageUrl, const QSize& size);
    void setGcpPinClusterIcon(const QColor& colour);
    // Centres the map on a pin and opens its tooltip.
    void navigateTo(const QString& pinName);

signals:
    void pageLoaded();
    void pageFailed(const QString& message);
    void visibilityChanged(bool visible);
    void pinClicked(const QString& name);
    void tagPhotoLinkClicked(const QString& name);
    void navigateRequested(const QString& name);

protected:
    UiBase::BaseView* loadView() override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    // Every script, in the order asked for, whether sent now or queued.
    virtual void scriptIssued(const QString& script);

private:
    enum class State { NotLoaded, Loading, Ready, Failed };
    void onLoadFinished(bool ok);
    void fail(const QString& message);
    void flush();
    void send(const QString& script, ScriptCallback callback);

    QString m_identifier;
    PageFunctions m_functions;
    State m_state = State::NotLoaded;
    QString m_error;
    QList<QPair<QString, ScriptCallback>> m_pending;
    QPointer<QStackedWidget> m_stack;
    QPointer<QWebEngineView> m_web;
    QPointer<QLabel> m_message;
    MapBridge* m_bridge = nullptr;
};

} // namespace UiToolkit
} // namespace Zyn
