#include "GcpEditor.h"
#include "ui_GcpEditor.h"

#include "GcpInfoEditor.h"
#include "GcpMapsAdapter.h"
#include "MarkerEditor.h"
#include "MarkerPlacerEx.h"

#include <gcp/map/GcpMapsVC.h>
#include <gcp/model/GcpListFile.h>
#include <gcp/model/GcpStatus.h>
#include <gcp/model/PhotoGeoCache.h>
#include <gcp/model/SurveyAutosave.h>
#include <gcp/model/SurveyFileFlow.h>
#include <uibase/TaskDialog.h>
#include <utilities/ResourceStrings.h>

#include <QAbstractButton>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QTemporaryDir>

namespace Zyn {
namespace AppGcp {

GcpEditor::GcpEditor(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::GcpEditor)
    , m_geo(new PhotoGeoCache(this))
    , m_autosave(new SurveyAutosave(this))
{
    ui->setupUi(this);
    setWindowTitle(tr("Survey Points"));
    setStyleSheet(QStringLiteral("QWidget:disabled { color: #808080; background-color: #F0F0F0; }"
                                 "QToolButton#button_close, QToolButton#button_closeview { border: none; "
                                 "image: url(:/resources/images/sys_close_18.png); }"
                                 "QToolButton#button_close:hover, QToolButton#button_closeview:hover { "
                                 "image: url(:/resources/images/sys_close_hover_18.png); }"));
    // The host's panel bar has the back and close buttons and the title.
    ui->button_closeview->hide();
    ui->dragbar->hide();
    ui->button_close->hide();

    GcpInfoEditor* table = ui->gcpInfoEditor;
    MarkerEditor* markers = table->markerEditor();
    markers->setCoordsTemplate(table->coordsTemplate());
    markers->setGeoCache(m_geo);
    // Pixel sizes and positions arrive later than the table: check again then.
    connect(m_geo, &PhotoGeoCache::loaded, this, &GcpEditor::refreshStatus);
    // The web map starts only when its side is first shown.
    m_maps = new GcpMapsVC(this);
    table->setMapBridge(new GcpMapsAdapter(m_maps, this));
    table->mapViewContainer()->installEventFilter(this);
    connect(m_geo, &PhotoGeoCache::loaded, this, &GcpEditor::updateMapCameras);
    connect(m_autosave, &SurveyAutosave::saveFailed, this, &GcpEditor::reportSaveFailure);

    connect(table, &GcpInfoEditor::gcpNameChanged, this, &GcpEditor::onGcpNameChanged);
    connect(table, &GcpInfoEditor::gcpCoordsChanged, this, &GcpEditor::onGcpCoordsChanged);
    connect(table, &GcpInfoEditor::gcpCoordsTypeChanged, this, &GcpEditor::onGcpCoordsTypeChanged);
    connect(table, &GcpInfoEditor::gcpInfoAdded, this, &GcpEditor::onGcpInfoAdded);
    connect(table, &GcpInfoEditor::gcpInfoDeleted, this, &GcpEditor::onGcpInfoDeleted);
    connect(table, &GcpInfoEditor::gcpSelected, this, &GcpEditor::onSelectedGcpChanged);
    connect(table, &GcpInfoEditor::doneButtonClicked, ui->button_close, &QToolButton::click);
    connect(table, &GcpInfoEditor::surveyChanged, this, &GcpEditor::surveyChanged);
    connect(markers, &MarkerEditor::markerChanged, this, &GcpEditor::onMarkerChanged);
    connect(markers, &MarkerEditor::browseButtonClicked, this, &GcpEditor::onBrowseButtonClicked);
    connect(markers, &MarkerEditor::filterByGPSCheckedStateChanged, this,
            &GcpEditor::onFilterByGPSCheckedStateChanged);
    connect(ui->button_close, &QToolButton::clicked, this, [this] {
        flushAutosave();
        // The panel around the editor closes; the editor itself is kept.
        for (QWidget* w = parentWidget(); w; w = w->parentWidget()) {
            if (w->objectName() == QLatin1String("action_panel")) {
                if (auto* cross = w->findChild<QAbstractButton*>(QStringLiteral("cross_button")))
                    cross->click();
                break;
            }
        }
    });
    refreshStatus();
}

GcpEditor::~GcpEditor()
{
    flushAutosave();
    delete ui;
}

GcpInfoEditor* GcpEditor::gcpInfoEditor() const
{
    return ui->gcpInfoEditor;
}

bool GcpEditor::eventFilter(QObject* watched, QEvent* event)
{
    QWidget* container = ui->gcpInfoEditor->mapViewContainer();
    if (watched == container && event->type() == QEvent::Show && !m_maps->isViewLoaded()) {
        QWidget* view = m_maps->getView();
        container->layout()->addWidget(view);
        view->show();
        updateMapCameras();
    }
    return QWidget::eventFilter(watched, event);
}

void GcpEditor::updateMapCameras()
{
    if (!m_maps->isViewLoaded() || m_geo->isLoading() || m_files == m_mapFiles)
        return;
    m_mapFiles = m_files;
    m_maps->loadCameras(m_geo->gpsMap(m_files));
    m_maps->loadPhotoBackgrounds(m_geo->values(m_files));
    updateMapReferences();
}

void GcpEditor::setFiles(const QStringList& files)
{
    m_files = files;
    ui->gcpInfoEditor->markerEditor()->setFiles(files);
    m_geo->request(files);
    updateMapCameras();
    if (!m_supportFilePath.isEmpty())
        m_autosave->setPath(m_supportFilePath, m_files);
    refreshStatus();
}

void GcpEditor::reportSaveFailure(const QString& error)
{
    // Once per visit: a failing disk must not bury the user in dialogs.
    if (m_saveFailureShown)
        return;
    m_saveFailureShown = true;
    UiBase::TaskDialog::showErrorMessage(this, Resource::String::GCP_SAVE_ERROR_TITLE, error);
}

void GcpEditor::setThumbnailData(const QHash<QString, QImage>& thumbnails)
{
    ui->gcpInfoEditor->markerEditor()->setThumbnailData(thumbnails);
}

void GcpEditor::setSupportFilePath(const QString& path)
{
    if (path == m_supportFilePath)
        return;
    m_supportFilePath = path;
    m_autosave->setPath(path, m_files);
    resume();
}

void GcpEditor::resume()
{
    if (!ui->gcpInfoEditor->gcps().isEmpty())
        return;
    const SurveyAutosave::Restored restored = m_autosave->restore();
    if (!restored.damagedKeptAs.isEmpty()) {
        UiBase::TaskDialog::showWarningMessage(
            this, Resource::String::GCP_LOAD_ERROR_TITLE,
            QString(Resource::String::GCP_AUTOSAVE_DAMAGED_MSG_FORMAT).arg(QDir::toNativeSeparators(restored.damagedKeptAs)));
        return;
    }
    if (!restored.found)
        return;
    ui->gcpInfoEditor->setSurvey(restored.gcps, restored.markersByName, restored.coordSys);
}

void GcpEditor::surveyChanged()
{
    refreshStatus();
    const GcpInfoEditor* table = ui->gcpInfoEditor;
    m_autosave->schedule(table->gcpsInTableOrder(), table->markers(), table->coordSys());
}

void GcpEditor::refreshStatus()
{
    const GcpInfoEditor* table = ui->gcpInfoEditor;
    GcpStatusInput input;
    input.gcps = table->gcpsInTableOrder();
    input.markersByName = table->markers();
    input.coordSys = table->coordSys();
    for (const QString& file : m_files) {
        const PhotoGeo geo = m_geo->value(file);
        input.photoSizes.insert(file, geo.pixelSize);
        if (m_geo->contains(file))
            input.photoGeo.insert(file, geo);
    }
    const GcpStatusResult result = computeGcpStatus(input);
    m_status = result.codesByName;
    m_summary = result.summaryText();
    ui->gcpInfoEditor->setStatus(m_status);
    ui->gcpInfoEditor->setSummary(m_summary);
    updateMapReferences();
}

void GcpEditor::updateMapReferences()
{
    // Cameras whose photo holds markers name those GCPs on the map.
    QHash<QString, QStringList> refs;
    const MarkerMap& markers = ui->gcpInfoEditor->markers();
    for (auto it = markers.cbegin(); it != markers.cend(); ++it)
        for (const GcpMarker& marker : it.value())
            refs[marker.image] << it.key();
    for (const QString& file : qAsConst(m_mapFiles))
        m_maps->setCameraReferenceGcps(file, refs.value(file));
}

void GcpEditor::flushAutosave()
{
    m_autosave->flush();
}

bool GcpEditor::prepareHandOff(AppCreate::ProjectRequest& request, QString* error)
{
    const GcpInfoEditor* table = ui->gcpInfoEditor;
    const GcpList gcps = table->gcpsInTableOrder();
    if (gcps.isEmpty())
        return true;
    flushAutosave();
    for (const GcpInfo& gcp : gcps)
        (gcp.checkpoint ? request.checkpoints : request.controlPoints) << gcp.name;
    const GcpListFiles lists = GcpListFile::format(gcps, table->markers(), table->coordSys());
    if (!lists.error.isEmpty()) {
        if (error)
            *error = lists.error;
        return false;
    }
    request.files.insert(QStringLiteral("gcp_list.txt"), lists.controlPoints);
    request.files.insert(QStringLiteral("checkpoint_list.txt"), lists.checkpoints);
    // The same survey in WGS 84, when every point can be converted.
    QTemporaryDir scratch;
    const QString ll84Path = scratch.filePath(QStringLiteral("gcp_survey_ll84.xml"));
    if (scratch.isValid()
        && SurveyFileFlow::writeFile(ll84Path, table->markers(), gcpMapByName(gcps), table->coordSys(), true).ok()) {
        QFile ll84(ll84Path);
        if (ll84.open(QIODevice::ReadOnly))
            request.files.insert(QStringLiteral("gcp_survey_ll84.xml"), ll84.readAll());
    }
    return true;
}

void GcpEditor::attachMarkerSignals(MarkerPlacerEx* placer)
{
    if (!placer)
        return;
    connect(placer, &MarkerPlacerEx::markerAdded, ui->gcpInfoEditor, &GcpInfoEditor::onMarkerAdded);
    connect(placer, &MarkerPlacerEx::markerDeleted, ui->gcpInfoEditor, &GcpInfoEditor::onMarkerDeleted);
    m_placers << placer;
}

void GcpEditor::prepareMarkerPlacer(MarkerPlacerEx* placer)
{
    if (!placer)
        return;
    GcpInfoEditor* table = ui->gcpInfoEditor;
    placer->setMarkerMap(&table->markers());
    placer->setGcpMap(&table->gcps());
    placer->setGeoCache(m_geo);
    placer->setFiles(m_files);
    placer->setCoordSys(table->coordSys(), table->coordsTemplate());
}

bool GcpEditor::hasPendingWork() const
{
    return ui->gcpInfoEditor->markerEditor()->isFiltering();
}

void GcpEditor::stopPendingWork()
{
    ui->gcpInfoEditor->markerEditor()->cancelFiltering();
}

void GcpEditor::resetForLeaving()
{
    ui->gcpInfoEditor->resetForLeaving();
    ui->gcpInfoEditor->markerEditor()->setFilterByGpsIdle();
    setWindowTitle(tr("Survey Points"));
    m_saveFailureShown = false;
    flushAutosave();
}

void GcpEditor::onGcpNameChanged(const QString& oldName, const QString& newName)
{
    ui->gcpInfoEditor->markerEditor()->onGcpNameChanged(oldName, newName);
    for (const QPointer<MarkerPlacerEx>& placer : qAsConst(m_placers))
        if (placer)
            placer->onGcpNameChanged(oldName, newName);
}

void GcpEditor::onGcpCoordsChanged(double value, int index)
{
    Q_UNUSED(value)
    Q_UNUSED(index)
    ui->gcpInfoEditor->markerEditor()->onGcpCoordsChanged();
}

void GcpEditor::onGcpCoordsTypeChanged()
{
    ui->gcpInfoEditor->markerEditor()->setCoordsTemplate(ui->gcpInfoEditor->coordsTemplate());
}

void GcpEditor::onGcpInfoAdded(const QString& gcpName)
{
    Q_UNUSED(gcpName)
}

void GcpEditor::onGcpInfoDeleted(const QString& gcpName)
{
    for (const QPointer<MarkerPlacerEx>& placer : qAsConst(m_placers))
        if (placer)
            placer->onGcpDeleted(gcpName);
}

void GcpEditor::onSelectedGcpChanged(const QString& gcpName)
{
    m_selected = gcpName;
}

void GcpEditor::onMarkerChanged()
{
    surveyChanged();
}

void GcpEditor::onExternalMarkerChanged()
{
    ui->gcpInfoEditor->markerEditor()->refresh();
    surveyChanged();
}

void GcpEditor::onBrowseButtonClicked()
{
    if (!m_selected.isEmpty())
        emit browseButtonClicked(m_selected);
}

void GcpEditor::onFilterByGPSCheckedStateChanged(bool checked)
{
    Q_UNUSED(checked)
}

} // namespace AppGcp
} // namespace Zyn
