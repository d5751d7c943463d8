#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>

namespace Zyn {
namespace UiBase {

// Modal error and warning dialogs in the host's style.
class TaskDialog {
public:
    enum Kind { Error = 0, Warning = 1, Information = 2 };

    // Standard button sets.
    enum ButtonSet {
        NoButtonSet = 0,
        OkButton = 1,
        OkCancelButtons = 2,
        YesNoButtons = 3,
        YesNoCancelButtons = 4,
        IconButtonsOnly = 5, // only the icon buttons given by the caller
    };

    // Results. Icon buttons answer IconButtonResult + their index.
    enum Result {
        Rejected = 0,
        Ok = 1,
        Cancel = 2,
        Yes = 3,
        No = 4,
        IconButtonResult = 100,
    };

    struct IconButton {
        QString icon;  // resource path of the icon
        QString label; // button text
    };

    struct Request {
        Kind kind = Error;
        QString mainText;
        QString secondaryText;
        int buttonSet = OkButton;
        QList<IconButton> iconButtons;
        QPointer<QWidget> parent;
    };

    static int showErrorMessage(QWidget* parent, const QString& mainText, const QString& secondaryText = {},
                                int buttonSet = OkButton, const QList<IconButton>& iconButtons = {});
    static int showWarningMessage(QWidget* parent, const QString& mainText, const QString& secondaryText = {},
                                  int buttonSet = OkButton, const QList<IconButton>& iconButtons = {});
    static int show(const Request& request);

    // Test seam: while a handler is set, no dialog is shown; the handler
    // receives every request and its answer is returned to the caller.
    using Handler = std::function<int(const Request&)>;
    static void setHandler(Handler handler);
    static void clearHandler();
};

} // namespace UiBase
} // namespace Zyn
