#pragma once

#include <appcreate/CreateViewController.h>

#include <QStringList>

namespace Zyn {
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

    // Whether a photo without GPS is still worth a warning.
    bool isGpsWarningEnabled() const { return m_showGpsWarning; }

public slots:
    void onLocalPhotosAdded(const QStringList& paths);

private:
    void showMissingGpsWarning();

    bool m_showGpsWarning = true;
};

} // namespace AppCreate
} // namespace Zyn
