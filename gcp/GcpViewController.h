#pragma once

#include <keelcore/Broadcaster.h>
#include <services/ShutdownProtocol.h>
#include <uibase/BaseViewController.h>
#include <uibase/PresentViewProtocol.h>
#include <uibase/ViewResponder.h>

#include <QPointer>
#include <QSharedPointer>

namespace Zyn {
namespace AppGcp {

class GcpEditor;

// Owns the GCP editor and opens the marker placement panel for a point.
class GcpViewController : public UiBase::BaseViewController,
                          public UiBase::ViewResponder,
                          public Services::ShutdownProtocol,
                          public KeelCore::Delegator<UiBase::PresentViewProtocol> {
    Q_OBJECT
public:
    explicit GcpViewController(QObject* parent = nullptr);
    ~GcpViewController() override;

    QPointer<GcpEditor> getGcpEditor() const;
    void viewWillDisappear() override;
    void onShutdown() override;

public slots:
    void onBrowseButtonClicked(const QString& gcpName);

protected:
    UiBase::BaseView* loadView() override;

private:
    QSharedPointer<GcpEditor> m_editor;
};

} // namespace AppGcp
} // namespace Zyn
