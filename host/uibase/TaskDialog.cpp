#include "TaskDialog.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <QPushButton>
#include <QStyle>
#include <QThread>
#include <QVBoxLayout>

namespace Zyn {
namespace UiBase {
namespace {

QMutex g_handlerMutex;
TaskDialog::Handler g_handler;

QIcon kindIcon(TaskDialog::Kind kind, QStyle* style)
{
    switch (kind) {
    case TaskDialog::Error:
        return style->standardIcon(QStyle::SP_MessageBoxCritical);
    case TaskDialog::Warning:
        return style->standardIcon(QStyle::SP_MessageBoxWarning);
    case TaskDialog::Information:
        break;
    }
    return style->standardIcon(QStyle::SP_MessageBoxInformation);
}

QString kindTitle(TaskDialog::Kind kind)
{
    switch (kind) {
    case TaskDialog::Error:
        return QCoreApplication::translate("Zyn::UiBase::TaskDialog", "Error");
    case TaskDialog::Warning:
        return QCoreApplication::translate("Zyn::UiBase::TaskDialog", "Warning");
    case TaskDialog::Information:
        break;
    }
    return QCoreApplication::translate("Zyn::UiBase::TaskDialog", "Information");
}

struct StandardButton {
    const char* objectName;
    const char* text;
    TaskDialog::Result result;
    QDialogButtonBox::ButtonRole role;
};

QList<StandardButton> standardButtons(int buttonSet, bool haveIconButtons)
{
    const StandardButton ok{"ok_button", QT_TRANSLATE_NOOP("Zyn::UiBase::TaskDialog", "OK"), TaskDialog::Ok,
                            QDialogButtonBox::AcceptRole};
    const StandardButton cancel{"cancel_button", QT_TRANSLATE_NOOP("Zyn::UiBase::TaskDialog", "Cancel"),
                                TaskDialog::Cancel, QDialogButtonBox::RejectRole};
    const StandardButton yes{"yes_button", QT_TRANSLATE_NOOP("Zyn::UiBase::TaskDialog", "Yes"), TaskDialog::Yes,
                             QDialogButtonBox::YesRole};
    const StandardButton no{"no_button", QT_TRANSLATE_NOOP("Zyn::UiBase::TaskDialog", "No"), TaskDialog::No,
                            QDialogButtonBox::NoRole};
    switch (buttonSet) {
    case TaskDialog::OkButton:
        return {ok};
    case TaskDialog::OkCancelButtons:
        return {ok, cancel};
    case TaskDialog::YesNoButtons:
        return {yes, no};
    case TaskDialog::YesNoCancelButtons:
        return {yes, no, cancel};
    default:
        // A dialog the user cannot leave by a button would be a trap.
        if (!haveIconButtons)
            return {ok};
        return {};
    }
}

int runDialog(const TaskDialog::Request& request)
{
    QWidget* parent = request.parent.data();
    // On the heap: the parent may be destroyed while the dialog is open.
    auto* dialogPtr = new QDialog(parent);
    QPointer<QDialog> guard(dialogPtr);
    QDialog& dialog = *dialogPtr;
    dialog.setObjectName(QStringLiteral("task_dialog"));
    dialog.setWindowTitle(kindTitle(request.kind));
    dialog.setModal(true);
    dialog.setWindowFlags(dialog.windowFlags() & ~Qt::WindowContextHelpButtonHint);
    dialog.setStyleSheet(QStringLiteral("QDialog#task_dialog { background: white; }"
                                        "QLabel#main_text_label { font-weight: bold; font-size: 11pt; }"
                                        "QLabel#secondary_text_label { color: #505050; }"
                                        "QPushButton[iconButton=\"true\"] { text-align: left; padding: 6px 10px; }"));

    auto* outer = new QVBoxLayout(&dialog);
    outer->setContentsMargins(20, 18, 20, 14);
    outer->setSpacing(14);

    auto* top = new QHBoxLayout;
    top->setSpacing(14);
    auto* iconLabel = new QLabel(&dialog);
    iconLabel->setObjectName(QStringLiteral("icon_label"));
    iconLabel->setPixmap(kindIcon(request.kind, dialog.style()).pixmap(32, 32));
    iconLabel->setAlignment(Qt::AlignTop);
    top->addWidget(iconLabel, 0, Qt::AlignTop);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(6);
    auto* mainLabel = new QLabel(request.mainText, &dialog);
    mainLabel->setObjectName(QStringLiteral("main_text_label"));
    mainLabel->setWordWrap(true);
    mainLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    texts->addWidget(mainLabel);
    auto* secondaryLabel = new QLabel(request.secondaryText, &dialog);
    secondaryLabel->setObjectName(QStringLiteral("secondary_text_label"));
    secondaryLabel->setWordWrap(true);
    secondaryLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    secondaryLabel->setVisible(!request.secondaryText.isEmpty());
    texts->addWidget(secondaryLabel);
    texts->addStretch(1);
    // Word-wrapped labels otherwise shrink to a narrow column.
    mainLabel->setMinimumWidth(320);
    secondaryLabel->setMinimumWidth(320);
    top->addLayout(texts, 1);
    outer->addLayout(top);

    QPushButton* firstButton = nullptr;
    for (int i = 0; i < request.iconButtons.size(); ++i) {
        const TaskDialog::IconButton& ib = request.iconButtons.at(i);
        auto* button = new QPushButton(QIcon(ib.icon), ib.label, &dialog);
        button->setObjectName(QStringLiteral("icon_button_%1").arg(i));
        button->setProperty("iconButton", true);
        button->setIconSize(QSize(20, 20));
        button->setAutoDefault(false);
        const int result = TaskDialog::IconButtonResult + i;
        QObject::connect(button, &QPushButton::clicked, &dialog, [&dialog, result] { dialog.done(result); });
        outer->addWidget(button);
        if (!firstButton)
            firstButton = button;
    }

    const QList<StandardButton> buttons = standardButtons(request.buttonSet, !request.iconButtons.isEmpty());
    if (!buttons.isEmpty()) {
        auto* box = new QDialogButtonBox(&dialog);
        box->setObjectName(QStringLiteral("button_box"));
        for (const StandardButton& sb : buttons) {
            QPushButton* button =
                box->addButton(QCoreApplication::translate("Zyn::UiBase::TaskDialog", sb.text), sb.role);
            button->setObjectName(QString::fromLatin1(sb.objectName));
            const int result = sb.result;
            QObject::connect(button, &QPushButton::clicked, &dialog, [&dialog, result] { dialog.done(result); });
            if (!firstButton)
                firstButton = button;
        }
        outer->addWidget(box);
    }
    if (firstButton) {
        firstButton->setDefault(true);
        firstButton->setFocus();
    }

    dialog.setMinimumWidth(380);
    // exec() answers QDialog::Rejected (0) when closed by Escape, by the
    // window's close button or with its parent, which is also our Rejected.
    const int result = dialog.exec();
    delete guard.data();
    return result;
}

} // namespace

namespace {
TaskDialog::Request makeRequest(TaskDialog::Kind kind, QWidget* parent, const QString& mainText,
                                const QString& secondaryText, int buttonSet,
                                const QList<TaskDialog::IconButton>& iconButtons)
{
    TaskDialog::Request request;
    request.kind = kind;
    request.mainText = mainText;
    request.secondaryText = secondaryText;
    request.buttonSet = buttonSet;
    request.iconButtons = iconButtons;
    request.parent = parent;
    return request;
}
} // namespace

int TaskDialog::showErrorMessage(QWidget* parent, const QString& mainText, const QString& secondaryText,
                                 int buttonSet, const QList<IconButton>& iconButtons)
{
    return show(makeRequest(Error, parent, mainText, secondaryText, buttonSet, iconButtons));
}

int TaskDialog::showWarningMessage(QWidget* parent, const QString& mainText, const QString& secondaryText,
                                   int buttonSet, const QList<IconButton>& iconButtons)
{
    return show(makeRequest(Warning, parent, mainText, secondaryText, buttonSet, iconButtons));
}

int TaskDialog::show(const Request& request)
{
    Handler handler;
    {
        QMutexLocker lock(&g_handlerMutex);
        handler = g_handler;
    }
    // A copy, so a handler may clear or replace itself while answering.
    if (handler)
        return handler(request);

    if (!qobject_cast<QApplication*>(QCoreApplication::instance())
        || QThread::currentThread() != QCoreApplication::instance()->thread()) {
        qWarning("TaskDialog: cannot show \"%s\" outside the GUI thread", qPrintable(request.mainText));
        return Rejected;
    }
    return runDialog(request);
}

void TaskDialog::setHandler(Handler handler)
{
    QMutexLocker lock(&g_handlerMutex);
    g_handler = std::move(handler);
}

void TaskDialog::clearHandler()
{
    QMutexLocker lock(&g_handlerMutex);
    g_handler = nullptr;
}

} // namespace UiBase
} // namespace Zyn
