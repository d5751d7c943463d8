#include "GcpViewController.h"

#include "GcpEditor.h"
#include "MarkerPlacerEx.h"

#include <uibase/BaseView.h>
#include <uitoolkit/ActionPanelVC.h>

namespace Zyn {
namespace AppGcp {

GcpViewController::GcpViewController(QObject* parent)
    : BaseViewController(parent)
{
    auto* editor = new GcpEditor;
    // The view owns the widget once installed; the shared pointer must never
    // delete it a second time.
    QPointer<GcpEditor> guard(editor);
    m_editor = QSharedPointer<GcpEditor>(editor, [guard](GcpEditor*) { delete guard.data(); });
    connect(editor, &GcpEditor::browseButtonClicked, this, &GcpViewController::onBrowseButtonClicked);
}

GcpViewController::~GcpViewController() = default;

UiBase::BaseView* GcpViewController::loadView()
{
    auto* view = new UiBase::BaseView;
    view->setContentWidget(m_editor.data());
    return view;
}

QPointer<GcpEditor> GcpViewController::getGcpEditor() const
{
    return QPointer<GcpEditor>(m_editor.data());
}

void GcpViewController::onBrowseButtonClicked(const QString& gcpName)
{
    GcpEditor* editor = m_editor.data();
    if (!editor)
        return;
    auto* panel = new UiToolkit::ActionPanelVC;
    auto* view = new UiBase::BaseView(getView());
    auto* placer = new MarkerPlacerEx;
    editor->attachMarkerSignals(placer);
    editor->prepareMarkerPlacer(placer);
    connect(placer, &MarkerPlacerEx::markerChanged, editor, &GcpEditor::onExternalMarkerChanged);
    panel->getView()->setAutoFillBackground(true);
    panel->setTitle(tr("Survey Points"));
    panel->setMainView(view);
    view->setContentWidget(placer);
    const QPointer<UiToolkit::ActionPanelVC> guard(panel);
    connect(placer, &MarkerPlacerEx::closeRequested, panel, [guard] {
        if (guard)
            guard->close();
    });
    presentViewController(panel, UiBase::TransitionFromRight);
    placer->openAt(gcpName);
}

void GcpViewController::viewWillDisappear()
{
    GcpEditor* editor = m_editor.data();
    if (!editor)
        return;
    if (editor->hasPendingWork())
        editor->stopPendingWork();
    editor->resetForLeaving();
    BaseViewController::viewWillDisappear();
}

void GcpViewController::onShutdown()
{
    if (GcpEditor* editor = m_editor.data())
        editor->flushAutosave();
}

} // namespace AppGcp
} // namespace Zyn
