#pragma once

#include <QPointer>
#include <QWidget>

class QVBoxLayout;

namespace Zyn {
namespace UiBase {

class BaseViewController;

// The widget of a view controller. It holds at most one content widget,
// laid out to fill it, and knows the controller it belongs to.
class BaseView : public QWidget {
    Q_OBJECT
public:
    explicit BaseView(QWidget* parent = nullptr);
    ~BaseView() override;

    // Replaces the content widget; the old one is deleted. Takes ownership.
    void setContentWidget(QWidget* content);
    QWidget* contentWidget() const { return m_content; }

    BaseViewController* getViewController() const;
    void setViewController(BaseViewController* controller);

signals:
    void resized();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QVBoxLayout* m_layout = nullptr;
    QPointer<QWidget> m_content;
    QPointer<BaseViewController> m_controller;
};

} // namespace UiBase
} // namespace Zyn
