#include "AerialCreateViewController.h"

#include "AerialSettingsFlyout.h"
#include "PhotoGpsReader.h"

#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <appcreate/PhotoSceneData.h>
#include <gcp/GcpCommand.h>
#include <gcp/GcpEditor.h>
#include <gcp/GcpViewController.h>
#include <gis/Gis.h>
#include <keelcore/Dispatch.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/LocalImageFileItem.h>
#include <utilities/ResourceStrings.h>

#include <QWidget>

namespace Zyn {
namespace AppCreate {

namespace {
QPointer<UiBase::BaseViewController>& keptPanel()
{
    static QPointer<UiBase::BaseViewController> panel;
    return panel;
}
} // namespace

AerialCreateViewController::AerialCreateViewController(QObject* parent)
    : CreateViewController(parent)
{
}

AerialCreateViewController::~AerialCreateViewController() = default;

void AerialCreateViewController::viewDidLoad()
{
    CreateViewController::viewDidLoad();
    auto* gcpCommand = qobject_cast<AppGcp::GcpCommand*>(m_cmdGroup->addCommand(new AppGcp::GcpCommand(this), 3));
    m_gcpCommand = gcpCommand;
    if (gcpCommand)
        KeelCore::Broadcaster<CreateFilesProtocol>::addObserver(gcpCommand);
    // The group is already in the command manager (adding it again is refused).
    getCmdMgr()->addCommand(m_cmdGroup);

    auto* state = qobject_cast<MainState*>(getState());
    if (!state)
        return;
    connect(state, &MainState::localPhotosAdded, this, &AerialCreateViewController::onLocalPhotosAdded);
    // Aerial projects start from the photos the user adds now, not from
    // the previous session's, and the user opens the browser when ready.
    state->SetStopReloadingPhotos(true);
    state->SetAutoBrowseForPhotos(false);
    if (gcpCommand && state->getPhotoSceneData())
        gcpCommand->setSupportFilePath(
            state->getPhotoSceneData()->getSupportFilePath(Resource::String::SUPPORT_FILENAME_GCP));

    PhotoPreview* canvas = state->getPhotoCanvas();
    if (!canvas)
        return;
    auto* flyout = new AerialSettingsFlyout(*state, canvas);
    canvas->SetFlyout(flyout);
    canvas->SetCanDragNDropWidgetBeVisible(true);
    setCentralWidget(CentralCanvas, canvas);
}

bool AerialCreateViewController::prepareProjectRequest(ProjectRequest& request, QString* error)
{
    if (!m_gcpCommand || !m_gcpCommand->gcpViewController())
        return true;
    const QPointer<AppGcp::GcpEditor> editor = m_gcpCommand->gcpViewController()->getGcpEditor();
    return !editor || editor->prepareHandOff(request, error);
}

void AerialCreateViewController::viewWillDisappear()
{
    m_showGpsWarning = false;
    // The base hides the flyout, which would otherwise float over the
    // dashboard once the panel is gone.
    CreateViewController::viewWillDisappear();
}

QSharedPointer<UiToolkit::IThumbnailItem> AerialCreateViewController::createThumbnailItem(const SCloudFile& file) const
{
    return QSharedPointer<UiToolkit::IThumbnailItem>(new UiToolkit::LocalImageFileItem(file.path));
}

bool AerialCreateViewController::validateThumbnailItem(QSharedPointer<UiToolkit::IThumbnailItem> item) const
{
    return item && qobject_cast<UiToolkit::LocalImageFileItem*>(item.data()) != nullptr;
}

void AerialCreateViewController::onCreateButtonClicked()
{
    m_showGpsWarning = false;
}

void AerialCreateViewController::onLocalPhotosAdded(const QStringList& paths)
{
    const KeelCore::WeakRef<BaseViewController> self = weakRef();
    const QStringList copy = paths;
    KeelCore::dispatchAsync(KeelCore::QosBackground, [self, copy] {
        for (const QString& path : copy) {
            // A view closed meanwhile needs no answer: stop reading.
            if (self.expired())
                return;
            double lon = 0.0, lat = 0.0, alt = 0.0;
            if (readPhotoGpsPosition(path.toStdWString(), lon, lat, alt))
                continue;
            // One warning per batch: the first photo without GPS is enough.
            const bool allHaveGps = false;
            KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, allHaveGps] {
                auto* controller = static_cast<AerialCreateViewController*>(self.lock());
                if (!controller || !controller->m_showGpsWarning || allHaveGps)
                    return;
                QWidget* widget = controller->getQtWidget();
                if (!widget || !widget->isVisible())
                    return;
                controller->showMissingGpsWarning();
            });
            break;
        }
    });
}

void AerialCreateViewController::showMissingGpsWarning()
{
    const QList<UiBase::TaskDialog::IconButton> buttons{
        {QStringLiteral(":/resources/images/sys_message_box_button_yes.png"), tr("Continue")}};
    // The user can only go on; the answer does not matter.
    UiBase::TaskDialog::showWarningMessage(getQtWidget(), tr("Some photos do not have GPS data"),
                                           tr("The output will not be geolocated."),
                                           UiBase::TaskDialog::IconButtonsOnly, buttons);
}

bool AerialCreateViewController::viewShouldClose()
{
    const int count = getFiles().size();
    if (count == 0)
        return true;
    const QList<UiBase::TaskDialog::IconButton> buttons{
        {QString(), tr("Discard")}, {QString(), tr("Keep for later")}, {QString(), tr("Cancel")}};
    const QString question = count == 1 ? tr("Discard the photo and settings of this project?")
                                        : tr("Discard the %1 photos and settings of this project?").arg(count);
    const int answer = UiBase::TaskDialog::showWarningMessage(
        getQtWidget(), question, tr("Keep for later brings them back the next time you open this panel."),
        UiBase::TaskDialog::IconButtonsOnly, buttons);
    const bool discard = answer == UiBase::TaskDialog::IconButtonResult;
    const bool keep = answer == UiBase::TaskDialog::IconButtonResult + 1;
    if (!discard && !keep)
        return false;
    // The panel owns this controller; a kept panel's view is only hidden on closing.
    auto* panel = qobject_cast<UiBase::BaseViewController*>(parent());
    if (panel && panel->getQtWidget())
        panel->getQtWidget()->setAttribute(Qt::WA_DeleteOnClose, discard);
    keptPanel() = keep ? panel : nullptr;
    return true;
}

UiBase::BaseViewController* AerialCreateViewController::takeKeptPanel()
{
    UiBase::BaseViewController* panel = keptPanel().data();
    keptPanel() = nullptr;
    return panel;
}

void AerialCreateViewController::getCoordSysFromLastImage()
{
    auto* state = qobject_cast<MainState*>(getState());
    PhotoPreview* canvas = state ? state->getPhotoCanvas() : nullptr;
    if (!canvas)
        return;
    auto* flyout = qobject_cast<AerialSettingsFlyout*>(canvas->getFlyout());
    const QStringList selected = canvas->getSelectedFiles();
    if (selected.isEmpty())
        return;
    double lon = 0.0, lat = 0.0, alt = 0.0;
    if (!readPhotoGpsPosition(selected.constLast().toStdWString(), lon, lat, alt))
        return;
    QString zone;
    Tarn::GIS::getUTMZoneForGPSCoordinates(lon, lat, zone);
    if (!zone.isEmpty() && flyout)
        flyout->setDefaultGpsCoordSys(zone);
}

} // namespace AppCreate
} // namespace Zyn
