#pragma once

#include <uibase/BaseViewController.h>

#include <QPointer>
#include <QString>
#include <QWidget>

class QLabel;
class QToolButton;

namespace Zyn {
namespace UiToolkit {

// A panel presented over another view: a top bar with an optional back
// button, a title and an optional cross (close) button, above one main
// view. When the main view belongs to a view controller, the panel owns
// that controller and forwards the lifecycle calls to it. Back and cross
// both dismiss the panel, unless the main controller's viewShouldClose()
// answers false.
class ActionPanelVC : public UiBase::BaseViewController {
    Q_OBJECT
public:
    explicit ActionPanelVC(UiBase::BaseViewController* mainController = nullptr, QObject* parent = nullptr);
    ~ActionPanelVC() override;

    // Installs the main view (the panel takes ownership of the widget and,
    // when it is a BaseView with a controller, of that controller).
    void setMainView(QWidget* view);
    QWidget* getMainView() const { return m_mainView; }
    void setMainViewController(UiBase::BaseViewController* controller);
    UiBase::BaseViewController* getMainViewController() const { return m_mainController; }

    void setBackButton(bool visible);
    void setCrossButton(bool visible);
    void setTitle(const QString& title);
    bool hasBackButton() const { return m_backVisible; }
    bool hasCrossButton() const { return m_crossVisible; }

    // Leaves the panel as the cross does: dismissed when it was presented,
    // else hidden (the main view is told it disappears either way).
    void close();

    void viewWillAppear() override;
    void viewDidAppear() override;
    void viewWillDisappear() override;
    void viewDidDisappear() override;

signals:
    void backClicked();
    void crossClicked();

protected:
    UiBase::BaseView* loadView() override;

private:
    void onBack();
    void onCross();

    QPointer<QWidget> m_mainView;
    QPointer<UiBase::BaseViewController> m_mainController;
    QPointer<QToolButton> m_back;
    QPointer<QToolButton> m_cross;
    QPointer<QLabel> m_title;
    QPointer<QWidget> m_body;
    bool m_backVisible = true;
    bool m_crossVisible = true;
};

} // namespace UiToolkit
} // namespace Zyn
