#pragma once

#include <appcreate/CreateViewController.h>

#include <QPointer>
#include <QStringList>

namespace Zyn {
namespace AppGcp {
class GcpCommand;
}
namespace AppCreate {

// The create view of aerial projects: local photos only, a GPS check of
// every added batch, the aerial settings flyout, and a target coordinate
// system proposed from the last selected photo.
class AerialCreateViewController : public CreateViewController {
    Q_OBJECT
public:
    explicit AerialCreateViewController(QObject* parent = nullptr);
    ~AerialCreateViewController() override;

    void viewDidLoad() override;
    void viewWillDisappear() override;

    QSharedPointer<UiToolkit::IThumbnailItem> createThumbnailItem(const SCloudFile& file) const override;
    bool validateThumbnailItem(QSharedPointer<UiToolkit::IThumbnailItem> item) const override;

    void onCreateButtonClicked() override;
    void getCoordSysFromLastImage() override;
    // Adds the survey points (when there are any) to the project.
    bool prepareProjectRequest(ProjectRequest& request, QString* error) override;

    // With photos on the canvas, asks whether to discard them, keep the
    // panel for later, or stay.
    bool viewShouldClose() override;
    // The panel the user kept for later in this session, handed over once.
    static UiBase::BaseViewController* takeKeptPanel();

    // Whether a photo without GPS is still worth a warning.
    bool isGpsWarningEnabled() const { return m_showGpsWarning; }

public slots:
    void onLocalPhotosAdded(const QStringList& paths);

private:
    void showMissingGpsWarning();

    bool m_showGpsWarning = true;
    QPointer<AppGcp::GcpCommand> m_gcpCommand;
};

} // namespace AppCreate
} // namespace Zyn
