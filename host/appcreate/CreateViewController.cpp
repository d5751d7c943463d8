#include "CreateViewController.h"

#include "CreateModelFlyout.h"
#include "MainState.h"
#include "PhotoPreview.h"
#include "PhotoSceneData.h"
#include "ProcessingService.h"

#include <keelcore/Dispatch.h>
#include <services/ApplicationService.h>
#include <uibase/BaseView.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/LocalImageFileItem.h>
#include <utilities/ResourceStrings.h>

#include <QFileInfo>
#include <QHBoxLayout>
#include <QSettings>
#include <QToolButton>
#include <QVBoxLayout>

namespace Zyn {
namespace AppCreate {

namespace {
const char kLastPhotosKey[] = "CreateView/LastPhotos";
}

CreateViewController::CreateViewController(QObject* parent)
    : CmdsViewController(parent)
{
    // viewDidLoad waits for Initialize: applications expect the state then.
    setViewDidLoadDeferred(true);
    m_cmdGroup = new UiBase::CommandGroup(this, QStringLiteral("CreateViewCommands"));
    connect(this, &UiBase::CmdsViewController::commandsChanged, this, &CreateViewController::rebuildCommandBar);
    Services::ApplicationService::GetInstance()->addObserver(this);
}

CreateViewController::~CreateViewController()
{
    // The canvas (inside the view) calls back into this controller; it
    // must go before the state and the rest of this object.
    if (QWidget* view = isViewLoaded() ? getQtWidget() : nullptr)
        delete view;
}

UiBase::BaseView* CreateViewController::loadView()
{
    auto* view = new UiBase::BaseView;
    view->setObjectName(QStringLiteral("create_view"));
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_commandBar = new QWidget;
    m_commandBar->setObjectName(QStringLiteral("create_command_bar"));
    auto* barLayout = new QHBoxLayout(m_commandBar);
    barLayout->setContentsMargins(8, 4, 8, 4);
    barLayout->addStretch(1);
    m_commandBar->hide();

    m_centralArea = new QWidget;
    m_centralArea->setObjectName(QStringLiteral("create_central_area"));
    auto* central = new QHBoxLayout(m_centralArea);
    central->setContentsMargins(0, 0, 0, 0);
    central->setSpacing(0);

    layout->addWidget(m_commandBar);
    layout->addWidget(m_centralArea, 1);
    view->setContentWidget(content);
    return view;
}

void CreateViewController::Initialize()
{
    if (m_initialized)
        return;
    m_initialized = true;
    m_state.reset(new MainState);
    UiBase::BaseView* view = getView();

    auto* canvas = new PhotoPreview(view);
    canvas->setObjectName(QStringLiteral("photo_canvas"));
    canvas->setItemFactory(
        [this](const QString& path) { return createThumbnailItem(SCloudFile::fromLocalPath(path)); },
        [this](QSharedPointer<UiToolkit::IThumbnailItem> item) { return validateThumbnailItem(item); });
    m_state->setPhotoCanvas(canvas);
    setCentralWidget(CentralCanvas, canvas);
    connect(canvas, &PhotoPreview::createRequested, this, &CreateViewController::onCreateRequested);
    connect(m_state.get(), &MainState::filesChanged, this, &CreateViewController::onCanvasFilesChanged);

    viewDidLoad();

    if (!m_state->stopReloadingPhotos()) {
        QStringList previous = QSettings().value(QLatin1String(kLastPhotosKey)).toStringList();
        previous.erase(std::remove_if(previous.begin(), previous.end(),
                                      [](const QString& p) { return !QFileInfo(p).isFile(); }),
                       previous.end());
        if (!previous.isEmpty())
            canvas->addFiles(previous);
    }
}

QObject* CreateViewController::getState() const
{
    return m_state.get();
}

void CreateViewController::viewDidLoad()
{
    addCommand(m_cmdGroup);
    rebuildCommandBar();
}

void CreateViewController::viewDidAppear()
{
    if (!m_state || m_autoBrowseDone || !m_state->autoBrowseForPhotos())
        return;
    m_autoBrowseDone = true;
    // After the panel is on screen, so the browser opens over it.
    const auto self = weakRef();
    KeelCore::dispatchAsync(KeelCore::QosMainThread, [self] {
        if (auto* c = static_cast<CreateViewController*>(self.lock()))
            c->browseForPhotos();
    });
}

void CreateViewController::viewWillDisappear()
{
    if (m_state && m_state->getPhotoCanvas()) {
        if (QDialog* flyout = m_state->getPhotoCanvas()->getFlyout())
            flyout->hide();
    }
}

void CreateViewController::browseForPhotos()
{
    PhotoPreview* canvas = m_state ? m_state->getPhotoCanvas() : nullptr;
    if (canvas && canvas->getFiles().isEmpty())
        canvas->browseForPhotos();
}

QSharedPointer<UiToolkit::IThumbnailItem> CreateViewController::createThumbnailItem(const SCloudFile& file) const
{
    if (!file.isLocal || file.path.isEmpty())
        return {};
    QSharedPointer<UiToolkit::IThumbnailItem> item(new UiToolkit::LocalImageFileItem(file.path));
    return item;
}

bool CreateViewController::validateThumbnailItem(QSharedPointer<UiToolkit::IThumbnailItem> item) const
{
    return item && qobject_cast<UiToolkit::LocalImageFileItem*>(item.data());
}

void CreateViewController::onCreateButtonClicked() {}

void CreateViewController::getCoordSysFromLastImage() {}

void CreateViewController::setCentralWidget(int slot, QWidget* widget)
{
    getView();
    if (!m_centralArea || m_centralWidgets.value(slot) == widget)
        return;
    auto* layout = static_cast<QHBoxLayout*>(m_centralArea->layout());
    if (QWidget* old = m_centralWidgets.value(slot)) {
        layout->removeWidget(old);
        old->hide();
    }
    m_centralWidgets.insert(slot, widget);
    if (!widget)
        return;
    // Slots are laid out left to right in slot order.
    int index = 0;
    for (auto it = m_centralWidgets.constBegin(); it != m_centralWidgets.constEnd(); ++it) {
        if (it.key() < slot && it.value())
            ++index;
    }
    layout->insertWidget(index, widget, slot == CentralCanvas ? 1 : 0);
    widget->show();
}

QWidget* CreateViewController::centralWidget(int slot) const
{
    return m_centralWidgets.value(slot).data();
}

QStringList CreateViewController::getLocalFilesToUpload() const
{
    return m_state ? m_state->selectedFiles() : QStringList();
}

QStringList CreateViewController::getFiles() const
{
    return m_state ? m_state->files() : QStringList();
}

QHash<QString, QImage> CreateViewController::getThumbnailData() const
{
    PhotoPreview* canvas = m_state ? m_state->getPhotoCanvas() : nullptr;
    return canvas ? canvas->getThumbnailData() : QHash<QString, QImage>();
}

void CreateViewController::onCreateRequested()
{
    if (getLocalFilesToUpload().isEmpty()) {
        UiBase::TaskDialog::showErrorMessage(getQtWidget(), tr("The project has no photos."),
                                             tr("Add photos, or include some of them, before creating a project."),
                                             UiBase::TaskDialog::OkButton);
        return;
    }
    onCreateButtonClicked();
    getCoordSysFromLastImage();
    showFlyout();
}

void CreateViewController::showFlyout()
{
    PhotoPreview* canvas = m_state ? m_state->getPhotoCanvas() : nullptr;
    auto* flyout = canvas ? qobject_cast<CreateModelFlyout*>(canvas->getFlyout()) : nullptr;
    if (!flyout) {
        UiBase::TaskDialog::showErrorMessage(getQtWidget(), tr("Projects cannot be created from this view."),
                                             tr("No application has installed its project settings here."),
                                             UiBase::TaskDialog::OkButton);
        return;
    }
    if (m_connectedFlyout != flyout) {
        if (m_connectedFlyout)
            disconnect(m_connectedFlyout.data(), &QDialog::accepted, this, &CreateViewController::onFlyoutAccepted);
        connect(flyout, &QDialog::accepted, this, &CreateViewController::onFlyoutAccepted);
        m_connectedFlyout = flyout;
    }
    // A frameless panel beside the canvas, inside the view: it moves and
    // resizes with the window and leaves the canvas's tool bar uncovered.
    setCentralWidget(CentralSidePanel, flyout);
    // As tall as its contents, at the top: not stretched down the window.
    m_centralArea->layout()->setAlignment(flyout, Qt::AlignTop);
    flyout->show();
    flyout->raise();
}

void CreateViewController::onFlyoutAccepted()
{
    auto* flyout = m_connectedFlyout.data();
    if (!flyout || !m_state)
        return;
    ProjectRequest request;
    flyout->GetSettings(request.mesh, request.pointCloud, request.orthoMap, request.pixelSizeMeters,
                        request.coordSysId);
    request.name = flyout->getModelName();
    request.photos = getLocalFilesToUpload();
    request.gcpSupportFile = m_state->getPhotoSceneData()->getSupportFilePath(Resource::String::SUPPORT_FILENAME_GCP);

    QString folder;
    QString error;
    if (!prepareProjectRequest(request, &error) || !ProcessingService::instance()->submitProject(request, &folder, &error)) {
        UiBase::TaskDialog::showErrorMessage(getQtWidget(), tr("The project cannot be created."), error,
                                             UiBase::TaskDialog::OkButton);
        return;
    }
    emit projectSubmitted(folder);

    // Done here: back to where the project list shows the new project.
    for (QObject* o = parent(); o; o = o->parent()) {
        auto* panel = qobject_cast<UiBase::BaseViewController*>(o);
        if (panel && panel->presentingViewController()) {
            const auto ref = panel->weakRef();
            KeelCore::dispatchAsync(KeelCore::QosMainThread, [ref] {
                if (UiBase::BaseViewController* p = ref.lock())
                    p->dismissViewController();
            });
            break;
        }
    }
}

bool CreateViewController::prepareProjectRequest(ProjectRequest& request, QString* error)
{
    Q_UNUSED(request)
    Q_UNUSED(error)
    return true;
}

void CreateViewController::onCanvasFilesChanged()
{
    const QStringList files = getFiles();
    QSettings().setValue(QLatin1String(kLastPhotosKey), files);
    broadcast([&files](CreateFilesProtocol* observer) { observer->onFilesChanged(files); });
}

void CreateViewController::rebuildCommandBar()
{
    if (!m_commandBar)
        return;
    auto* layout = static_cast<QHBoxLayout*>(m_commandBar->layout());
    while (layout->count() > 1) {
        QLayoutItem* item = layout->takeAt(0);
        delete item->widget();
        delete item;
    }
    int index = 0;
    for (UiBase::CommandBase* command : flattenedCommands()) {
        auto* button = new QToolButton;
        button->setObjectName(QStringLiteral("cmd_") + command->getCommandName());
        button->setDefaultAction(command);
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setIconSize(QSize(20, 20));
        layout->insertWidget(index++, button);
    }
    m_commandBar->setVisible(index > 0);
}

void CreateViewController::presentViewController(UiBase::BaseViewController* controller, int direction)
{
    // The view that presents this one shows panels over everything.
    if (!KeelCore::Delegator<UiBase::PresentViewProtocol>::callDelegate([controller, direction](UiBase::PresentViewProtocol* p) { p->presentView(controller, direction); }))
        CmdsViewController::presentViewController(controller, direction);
}

void CreateViewController::onShutdown()
{
    viewWillDisappear();
}

} // namespace AppCreate
} // namespace Zyn
