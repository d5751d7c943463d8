#include "CreateModelFlyout.h"

#include "MainState.h"
#include "ProcessingService.h"

#include <keelcore/Dispatch.h>
#include <services/CloudService.h>
#include <services/EntitlementService.h>
#include <uibase/TaskDialog.h>
#include <utilities/Constants.h>

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QTextBrowser>
#include <QVBoxLayout>

#include <algorithm>

namespace Zyn {
namespace AppCreate {

namespace {
CreateModelFlyout::TermsHandler& termsHandler()
{
    static CreateModelFlyout::TermsHandler handler;
    return handler;
}
} // namespace

CreateModelFlyout::CreateModelFlyout(MainState& state, QWidget* parent)
    : QDialog(parent)
    , m_state(state)
{
}

CreateModelFlyout::~CreateModelFlyout() = default;

QString CreateModelFlyout::GetModelNameLineEditStylesheet()
{
    return QStringLiteral("QLineEdit { border: 1px solid #B4B4B4; border-radius: 2px; padding: 2px 4px; "
                          "background: white; color: #202020; }"
                          "QLineEdit:focus { border-color: #5383B5; }"
                          "QLineEdit:disabled { color: #808080; background: #F0F0F0; }");
}

bool CreateModelFlyout::HasUserAcceptedTermsAndConditions() const
{
    QSettings settings;
    settings.beginGroup(QLatin1String(Utilities::CFG_ELEM_GENERAL));
    const QVariant value = settings.value(QLatin1String(Utilities::CFG_ELEM_TERMS_ACCEPTED));
    // Only a clear yes counts; a damaged value asks again rather than assume.
    if (value.type() == QVariant::Bool)
        return value.toBool();
    const QString text = value.toString().trimmed().toLower();
    return text == QLatin1String("true") || text == QLatin1String("1");
}

QString CreateModelFlyout::termsAndConditionsText()
{
    // Credits are promised only to accounts that pay with them.
    const bool credits =
        Services::EntitlementService::currentEntitlementType() == Services::EntitlementService::CloudCreditsAccount;
    return tr("<h3>Terms and conditions of processing</h3>"
              "<p>By starting a project you confirm that you own the photos you add, or have the right to "
              "process them, and that they may be processed on the processing account configured in this "
              "application.</p>")
           + (credits ? tr("<p>Processing a project uses cloud credits of your account. The number of credits a "
                           "project needs is shown before it starts; credits used by a started project are not "
                           "refunded.</p>")
                      : QString())
           + tr("<p>Project results are produced with care but without warranty; check them before relying on "
                "their measurements.</p>"
                "<p>These terms are asked for once; you accept them for every later project.</p>");
}

void CreateModelFlyout::setTermsHandler(TermsHandler handler)
{
    termsHandler() = std::move(handler);
}

void CreateModelFlyout::clearTermsHandler()
{
    termsHandler() = nullptr;
}

bool CreateModelFlyout::AskUserToAcceptTermsAndConditions()
{
    bool accepted = false;
    if (termsHandler()) {
        accepted = termsHandler()(termsAndConditionsText());
    } else {
        QDialog dialog(this);
        dialog.setObjectName(QStringLiteral("terms_dialog"));
        dialog.setWindowTitle(tr("Terms and Conditions"));
        auto* layout = new QVBoxLayout(&dialog);
        auto* text = new QTextBrowser;
        text->setObjectName(QStringLiteral("terms_textBrowser"));
        text->setHtml(termsAndConditionsText());
        auto* agree = new QCheckBox(tr("I have read and accept the terms and conditions"));
        agree->setObjectName(QStringLiteral("terms_checkBox"));
        auto* buttons = new QDialogButtonBox;
        QPushButton* accept = buttons->addButton(tr("Accept"), QDialogButtonBox::AcceptRole);
        accept->setObjectName(QStringLiteral("terms_accept_button"));
        accept->setEnabled(false);
        buttons->addButton(tr("Decline"), QDialogButtonBox::RejectRole)->setObjectName(QStringLiteral("terms_decline_button"));
        connect(agree, &QCheckBox::toggled, accept, &QPushButton::setEnabled);
        connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
        connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
        layout->addWidget(text, 1);
        layout->addWidget(agree);
        layout->addWidget(buttons);
        dialog.resize(480, 360);
        accepted = dialog.exec() == QDialog::Accepted && agree->isChecked();
    }
    if (accepted) {
        QSettings settings;
        settings.beginGroup(QLatin1String(Utilities::CFG_ELEM_GENERAL));
        settings.setValue(QLatin1String(Utilities::CFG_ELEM_TERMS_ACCEPTED), true);
        settings.sync();
    }
    return accepted;
}

void CreateModelFlyout::validateEntitlement(std::function<void(bool)> callback)
{
    if (!callback)
        return;
    // Refused here, while the dialog is still open with the user's values.
    QString why;
    const bool nameFree = ProcessingService::isValidProjectName(m_modelName, &why)
                          && !ProcessingService::instance()->projectExists(m_modelName);
    if (!nameFree) {
        if (why.isEmpty())
            why = ProcessingService::projectExistsText(m_modelName);
        UiBase::TaskDialog::showErrorMessage(this, tr("The project cannot be created."), why, UiBase::TaskDialog::OkButton);
        callback(false);
        return;
    }

    const QPointer<CreateModelFlyout> self(this);
    const int photoCount = m_state.selectedFileCount();
    auto answer = [self, callback](bool ok, int required, int available) {
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, callback, ok, required, available] {
            if (!ok && self)
                UiBase::TaskDialog::showErrorMessage(
                    self, tr("Not enough cloud credits."),
                    tr("This project needs %1 cloud credits; %2 are available.").arg(required).arg(available),
                    UiBase::TaskDialog::OkButton);
            callback(ok);
        });
    };
    Services::EntitlementService::GetInstance()->getEntitlementType([answer, photoCount](int type) {
        if (type == Services::EntitlementService::SelfHostedProcessing) {
            answer(true, 0, 0);
            return;
        }
        Services::CloudService::GetInstance()->getAvailableCloudCredits([answer, photoCount](QList<int> pools) {
            Services::EntitlementService::GetInstance()->queryCloudCreditsForPhotoCount(
                photoCount, [answer, pools](int required) {
                    // One pool has to cover the whole project.
                    const int best = pools.isEmpty() ? 0 : *std::max_element(pools.begin(), pools.end());
                    answer(best >= required && !pools.isEmpty(), required, best);
                });
        });
    });
}

void CreateModelFlyout::GetSettings(bool& mesh, bool& pointCloud, bool& orthoMap, float& pixelSizeMeters,
                                    QString& coordSysId) const
{
    mesh = true;
    pointCloud = false;
    orthoMap = false;
    pixelSizeMeters = 0.01f;
    coordSysId = QStringLiteral("LL84");
}

} // namespace AppCreate
} // namespace Zyn
