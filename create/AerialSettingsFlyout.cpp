#include "AerialSettingsFlyout.h"

// The selector's header needs the dialog's full type.
#include <coordsys/CoordSysDialog.h>

#include "ui_AerialSettingsFlyout.h"

#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <coordsys/CoordSysSelector.h>
#include <keelcore/Dispatch.h>
#include <services/CloudService.h>
#include <services/EntitlementService.h>
#include <uibase/TaskDialog.h>

#include <QApplication>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QShowEvent>

namespace Zyn {
namespace AppCreate {

AerialSettingsFlyout::SceneNameValidator::SceneNameValidator(QLineEdit* lineEdit, QObject* parent)
    : QValidator(parent)
    , m_lineEdit(lineEdit)
{
    for (char c = '0'; c <= '9'; ++c)
        m_allowed.insert(c);
    for (char c = 'a'; c <= 'z'; ++c)
        m_allowed.insert(c);
    for (char c = 'A'; c <= 'Z'; ++c)
        m_allowed.insert(c);
    // No space: project names become folder and file names elsewhere.
    m_allowed.insert('_');
    m_allowed.insert('-');
}

QValidator::State AerialSettingsFlyout::SceneNameValidator::validate(QString& text, int& pos) const
{
    Q_UNUSED(pos)
    if (m_lineEdit)
        m_lineEdit->setStyleSheet(CreateModelFlyout::GetModelNameLineEditStylesheet());
    for (const QChar ch : qAsConst(text)) {
        // toLatin1 answers 0 for characters beyond Latin-1, which is not allowed.
        if (!m_allowed.contains(ch.toLatin1()))
            return Invalid;
    }
    return Acceptable;
}

AerialSettingsFlyout::AerialSettingsFlyout(MainState& state, QWidget* parent)
    : CreateModelFlyout(state, parent)
    , ui(new Ui::AerialSettingsFlyout)
{
    ui->setupUi(this);
    ui->modelname_lineedit->installEventFilter(this);
    ui->coord_sys_selector->setInput(false);
    ui->coord_sys_selector->loadCoordSystems();
    // An unfinished pixel size ("", "0") becomes the nearest allowed value,
    // shown in the field, rather than silently the previous one.
    ui->upp_spinBox->setCorrectionMode(QAbstractSpinBox::CorrectToNearestValue);
    InitializeSceneNameValidator();
    adjustSize();
}

AerialSettingsFlyout::~AerialSettingsFlyout() = default;

void AerialSettingsFlyout::InitializeSceneNameValidator()
{
    m_sceneNameValidator.reset(new SceneNameValidator(ui->modelname_lineedit));
}

void AerialSettingsFlyout::setDefaultGpsCoordSys(QString zoneCode)
{
    ui->coord_sys_selector->setDefaultGpsCoordSys(zoneCode);
}

void AerialSettingsFlyout::GetSettings(bool& mesh, bool& pointCloud, bool& orthoMap, float& pixelSizeMeters,
                                       QString& coordSysId) const
{
    mesh = ui->mesh_checkBox->isChecked();
    pointCloud = ui->qxs_checkBox->isChecked();
    orthoMap = ui->orthomap_checkBox->isChecked();
    pixelSizeMeters = static_cast<float>(ui->upp_spinBox->value() / 100.0);
    coordSysId = ui->coord_sys_selector->getCoordSysId();
}

bool AerialSettingsFlyout::ValidateModelName()
{
    QString text = ui->modelname_lineedit->text();
    if (text.isEmpty()) {
        UiBase::TaskDialog::showErrorMessage(this, tr("The project name is empty!"), QString(),
                                             UiBase::TaskDialog::OkButton);
        return false;
    }
    for (int pos = 0; pos < text.length(); ++pos) {
        int cursor = pos;
        if (m_sceneNameValidator->validate(text, cursor) == QValidator::Invalid) {
            UiBase::TaskDialog::showErrorMessage(
                this, tr("Project name is not valid."),
                tr("Name may only contain letters(A-Z, a-z),\ndigits(0-9), dash(-) or underscore (_)."),
                UiBase::TaskDialog::OkButton);
            return false;
        }
    }
    m_modelName = text;
    return true;
}

void AerialSettingsFlyout::start()
{
    // A double click on Start, or Start then Return, must submit once.
    if (m_startPending)
        return;
    // Start may come while the pixel size is still being typed: settle it
    // first, so the size submitted is the one the field shows.
    ui->upp_spinBox->interpretText();
    if (!HasUserAcceptedTermsAndConditions() && !AskUserToAcceptTermsAndConditions())
        return;
    if (!ValidateModelName())
        return;
    if (!ui->coord_sys_selector->isCSIdValid()) {
        UiBase::TaskDialog::showErrorMessage(this, tr("The target coordinate system is not valid!"), QString(),
                                             UiBase::TaskDialog::OkButton);
        return;
    }
    if (!acceptUnreadableLeftOut())
        return;
    const QPointer<AerialSettingsFlyout> self(this);
    m_startPending = true;
    const int request = ++m_startRequest;
    validateEntitlement([self, request](bool ok) {
        if (!self || request != self->m_startRequest)
            return; // closed, or cancelled, meanwhile
        self->m_startPending = false;
        // The name submitted is the one on screen now.
        if (!ok || !self->ValidateModelName())
            return;
        // The name was kept by ValidateModelName; the field is ready for the next project.
        self->ui->modelname_lineedit->clear();
        self->accept();
    });
}

bool AerialSettingsFlyout::acceptUnreadableLeftOut()
{
    const PhotoPreview* canvas = getState().getPhotoCanvas();
    const QList<PhotoPreview::Unreadable> unreadable = canvas ? canvas->unreadableFiles() : QList<PhotoPreview::Unreadable>();
    if (unreadable.isEmpty())
        return true;
    const QString mainText = unreadable.size() == 1
                                 ? tr("1 photo cannot be read and is left out of the project.")
                                 : tr("%1 photos cannot be read and are left out of the project.").arg(unreadable.size());
    // Name the first few, so the user can find them; the rest are counted.
    const int shown = 5;
    QStringList lines;
    for (int i = 0; i < unreadable.size() && i < shown; ++i)
        lines << tr("%1: %2").arg(QFileInfo(unreadable.at(i).path).fileName(), unreadable.at(i).reason);
    if (unreadable.size() > shown)
        lines << tr("and %1 more").arg(unreadable.size() - shown);
    return UiBase::TaskDialog::showWarningMessage(this, mainText, lines.join(QLatin1Char('\n')),
                                                  UiBase::TaskDialog::OkCancelButtons) == UiBase::TaskDialog::Ok;
}

void AerialSettingsFlyout::reject()
{
    if (m_startPending) {
        m_startPending = false;
        ++m_startRequest;
    }
    CreateModelFlyout::reject();
}

void AerialSettingsFlyout::on_start_button_clicked()
{
    start();
}

void AerialSettingsFlyout::on_modelname_lineedit_returnPressed()
{
    ValidateModelName();
}

void AerialSettingsFlyout::on_close_toolButton_clicked()
{
    reject();
}

void AerialSettingsFlyout::on_mesh_checkBox_clicked()
{
    // The mesh is always produced.
    ui->mesh_checkBox->setChecked(true);
}

void AerialSettingsFlyout::on_orthomap_checkBox_stateChanged(int state)
{
    ui->upp_spinBox->setEnabled(state != 0);
}

bool AerialSettingsFlyout::filterNameKey(const QKeyEvent* event) const
{
    const int key = event->key();
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_Left:
    case Qt::Key_Right:
        return true;
    default:
        break;
    }
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    const bool plain = modifiers == Qt::NoModifier || modifiers == Qt::KeypadModifier;
    if (!(modifiers & Qt::ShiftModifier) && !plain)
        return false;
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return true;
    if (plain && key >= Qt::Key_0 && key <= Qt::Key_9)
        return true;
    return key == Qt::Key_Underscore || key == Qt::Key_Minus;
}

bool AerialSettingsFlyout::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->modelname_lineedit && event->type() == QEvent::KeyPress) {
        if (filterNameKey(static_cast<QKeyEvent*>(event)))
            return false;
        QApplication::beep();
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void AerialSettingsFlyout::keyPressEvent(QKeyEvent* event)
{
    const int key = event->key();
    // The keypad's Enter carries the keypad modifier; it acts as Return.
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) && (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier)
        start();
    QDialog::keyPressEvent(event);
}

void AerialSettingsFlyout::showEvent(QShowEvent* event)
{
    ui->upp_spinBox->setEnabled(ui->orthomap_checkBox->isChecked());
    // Not the name field: a key typed by mistake must not land in it.
    ui->close_toolButton->setFocus();
    setCloudCreditsTexts();
    QDialog::showEvent(event);
}

QString AerialSettingsFlyout::cloudCreditsText(const QList<int>& available, int required)
{
    if (available.isEmpty())
        return QString();
    int chosen = available.constFirst();
    bool covered = false;
    for (int credits : available) {
        if (credits >= required) {
            chosen = credits;
            covered = true;
            break;
        }
        chosen = qMax(chosen, credits);
    }
    const QString colour = covered ? QStringLiteral("gray") : QStringLiteral("red");
    return tr("<html><body><font color=\"%1\">%2</font> Cloud Credits required / %3 available</body></html>")
        .arg(colour)
        .arg(required)
        .arg(chosen);
}

void AerialSettingsFlyout::setCloudCreditsTexts()
{
    const QPointer<AerialSettingsFlyout> self(this);
    const int photoCount = getState().selectedFileCount();
    Services::EntitlementService::GetInstance()->getEntitlementType([self, photoCount](int type) {
        if (type == Services::EntitlementService::SelfHostedProcessing) {
            KeelCore::dispatchAsync(KeelCore::QosMainThread, [self] {
                if (!self)
                    return;
                self->ui->frame_cloudcredits->hide();
                // Shown before the answer came: fit the dialog to what is left.
                self->adjustSize();
            });
            return;
        }
        Services::CloudService::GetInstance()->getAvailableCloudCredits([self, photoCount](QList<int> available) {
            Services::EntitlementService::GetInstance()->queryCloudCreditsForPhotoCount(
                photoCount, [self, available](int required) {
                    KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, available, required] {
                        if (!self || available.isEmpty())
                            return;
                        self->ui->frame_cloudcredits->show();
                        self->ui->label_current_cc->setText(cloudCreditsText(available, required));
                        self->adjustSize();
                    });
                });
        });
    });
}

} // namespace AppCreate
} // namespace Zyn
