#pragma once

#include <QDialog>
#include <QString>

#include <functional>

namespace Zyn {
namespace AppCreate {

class MainState;

// Base of an application's project settings dialog, shown beside the
// photo canvas. The create view reads GetSettings and getModelName once
// the dialog is accepted.
class CreateModelFlyout : public QDialog {
    Q_OBJECT
public:
    CreateModelFlyout(MainState& state, QWidget* parent);
    ~CreateModelFlyout() override;

    MainState& getState() const { return m_state; }

    // The validated project name (set by the application before accepting).
    QString getModelName() const { return m_modelName; }

    // Style of a project-name field; re-applied whenever it is validated.
    static QString GetModelNameLineEditStylesheet();

    // The terms are accepted once and remembered in the settings.
    bool HasUserAcceptedTermsAndConditions() const;
    // Shows the terms; answers whether the user accepted them (and then
    // remembers it).
    bool AskUserToAcceptTermsAndConditions();
    static QString termsAndConditionsText();
    // Test seam: while set, the handler answers instead of the terms dialog.
    using TermsHandler = std::function<bool(const QString& termsText)>;
    static void setTermsHandler(TermsHandler handler);
    static void clearTermsHandler();

    // Asks whether the account can process this project (self-hosted
    // accounts always can; credit accounts when one credit pool covers the
    // selected photos) and whether the project name is still free. The
    // callback is called once, on the GUI thread; a refused name is
    // reported to the user here and answers false.
    void validateEntitlement(std::function<void(bool)> callback);

public slots:
    // Outputs, pixel size (metres) and target coordinate-system code.
    virtual void GetSettings(bool& mesh, bool& pointCloud, bool& orthoMap, float& pixelSizeMeters,
                             QString& coordSysId) const;

protected:
    QString m_modelName;

private:
    MainState& m_state;
};

} // namespace AppCreate
} // namespace Zyn
