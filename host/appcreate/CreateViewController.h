#pragma once

#include <appcreate/CreateFilesProtocol.h>
#include <appcreate/ProcessingService.h>
#include <appcreate/SCloudFile.h>
#include <keelcore/Broadcaster.h>
#include <services/ShutdownProtocol.h>
#include <uibase/CmdsViewController.h>
#include <uibase/CommandBase.h>
#include <uibase/CommandGroup.h>
#include <uibase/PresentViewProtocol.h>
#include <uibase/ToolStack.h>
#include <uibase/ViewResponder.h>

#include <QHash>
#include <QImage>
#include <QPointer>
#include <QSharedPointer>
#include <QStringList>

#include <memory>

namespace Zyn {
namespace UiToolkit {
class IThumbnailItem;
}

namespace AppCreate {

class CreateModelFlyout;
class MainState;
class PhotoPreview;

// The generic create view: a photo canvas, a command bar and the settings
// flyout of the application that specialises it. Pressing Create on the
// canvas shows the flyout; accepting it submits the project to the
// processing service.
class CreateViewController : public UiBase::CmdsViewController,
                             public UiBase::ViewResponder,
                             public Services::ShutdownProtocol,
                             public KeelCore::Delegator<UiBase::PresentViewProtocol>,
                             public UiBase::ToolStack,
                             public UiBase::CommandStateProtocol,
                             public KeelCore::Broadcaster<CreateFilesProtocol> {
    Q_OBJECT
public:
    // Slots of setCentralWidget.
    enum ECentralSlot { CentralCanvas = 0, CentralSidePanel = 1 };

    explicit CreateViewController(QObject* parent = nullptr);
    ~CreateViewController() override;

    // Builds the state (with its canvas) and the view, then calls
    // viewDidLoad(). Call once, after getView() if the caller needs the
    // view first.
    void Initialize();
    bool isInitialized() const { return m_initialized; }

    // The state, as a plain object: applications check its type.
    QObject* getState() const;

    void viewDidLoad() override;
    void viewDidAppear() override;
    void viewWillDisappear() override;

    // Which items the canvas accepts. The default accepts local photos.
    virtual QSharedPointer<UiToolkit::IThumbnailItem> createThumbnailItem(const SCloudFile& file) const;
    virtual bool validateThumbnailItem(QSharedPointer<UiToolkit::IThumbnailItem> item) const;

    // The canvas's Create button was pressed, before the flyout is shown.
    virtual void onCreateButtonClicked();
    // Gives the flyout a default coordinate system from the photos. The
    // default does nothing.
    virtual void getCoordSysFromLastImage();

    // Installs widget in a slot of the view (ECentralSlot); the view takes
    // ownership. Installing the widget already there does nothing.
    void setCentralWidget(int slot, QWidget* widget);
    QWidget* centralWidget(int slot) const;

    // Photos to process (the canvas's selected photos, in display order).
    QStringList getLocalFilesToUpload() const;
    // Every photo in the canvas.
    QStringList getFiles() const;
    // Decoded thumbnails by photo path (only those ready).
    QHash<QString, QImage> getThumbnailData() const;

    // Lets the application add its files and details to a project about to
    // be submitted. Answers false, with a user-readable error, to stop it.
    virtual bool prepareProjectRequest(ProjectRequest& request, QString* error);
    // Shows the flyout in the side slot, right of the canvas (what the Create button does after
    // onCreateButtonClicked and getCoordSysFromLastImage).
    void showFlyout();

    // Presents through the PresentViewProtocol delegate when there is one.
    void presentViewController(UiBase::BaseViewController* controller, int direction) override;

    void onShutdown() override;

signals:
    // A project was written: its folder.
    void projectSubmitted(const QString& projectFolder);

protected:
    // The command bar's group; applications add their commands to it.
    QPointer<UiBase::CommandGroup> m_cmdGroup;

    UiBase::BaseView* loadView() override;

private:
    void onCreateRequested();
    void onFlyoutAccepted();
    void onCanvasFilesChanged();
    void rebuildCommandBar();
    void browseForPhotos();

    std::unique_ptr<MainState> m_state;
    QPointer<QWidget> m_commandBar;
    QPointer<QWidget> m_centralArea;
    QHash<int, QPointer<QWidget>> m_centralWidgets;
    mutable QHash<QString, QWeakPointer<UiToolkit::IThumbnailItem>> m_items;
    QPointer<CreateModelFlyout> m_connectedFlyout;
    bool m_initialized = false;
    bool m_autoBrowseDone = false;
};

} // namespace AppCreate
} // namespace Zyn
