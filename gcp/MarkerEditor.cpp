#include "MarkerEditor.h"
#include "ui_MarkerEditor.h"

#include "AssistBar.h"
#include "GcpProxyModel.h"
#include "GcpThumbnailVC.h"
#include "ImagePane.h"

#include <gcp/model/GcpColor.h>
#include <gcp/model/MarkSuggester.h>
#include <gcp/model/PhotoGeoCache.h>
#include <gis/Gis.h>
#include <uibase/TaskDialog.h>
#include <uitoolkit/ThumbnailView.h>

#include <QDir>
#include <QFileInfo>
#include <QGraphicsDropShadowEffect>
#include <QKeyEvent>

namespace Zyn {
namespace AppGcp {

namespace {
const int kNameChars = 25;

void addShadow(QWidget* w)
{
    auto* shadow = new QGraphicsDropShadowEffect(w);
    shadow->setBlurRadius(7.0);
    shadow->setOffset(0);
    w->setGraphicsEffect(shadow);
}
} // namespace

MarkerEditor::MarkerEditor(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::MarkerEditor)
    , m_thumbs(new GcpThumbnailVC(this))
    , m_assist(new MarkSuggester(this))
{
    ui->setupUi(this);
    m_assistBar = new AssistBar(this);
    m_assistPaneBar = new AssistBar(this);
    m_assistPaneBar->setCompact(true);
    // A row of its own: the browser's filter row has no room for the count.
    ui->vlayout_page_thumbnail->insertWidget(ui->vlayout_page_thumbnail->indexOf(ui->frame_filter) + 1, m_assistBar);
    ui->vlayout_page_image->insertWidget(ui->vlayout_page_image->indexOf(ui->frame_buttons), m_assistPaneBar);
    for (AssistBar* bar : {m_assistBar, m_assistPaneBar}) {
        bar->setSuggester(m_assist);
        connect(bar, &AssistBar::acceptAllRequested, this, &MarkerEditor::acceptSuggestionsAbove);
        connect(bar, &AssistBar::detectRequested, this, &MarkerEditor::detectCodedTargets);
    }
    connect(m_assist, &MarkSuggester::predictionsChanged, this, &MarkerEditor::showAssistOnPane);
    connect(this, &MarkerEditor::markerDeleted, this, &MarkerEditor::updateAssist);
    connect(m_assist, &MarkSuggester::suggestionsChanged, this, [this](const QString& name) {
        if (name == m_gcpName)
            showAssistOnPane();
    });
    setWindowTitle(tr("Survey Points"));
    ui->checkBox_filterByGps->setText(tr("Filter by GPS"));
    ui->label_gcp_info->setText(tr("GCP found on 0 image"));
    ui->label_gcp_info->setStyleSheet(QStringLiteral("font-size: 14px;"));
    ui->button_browse->setStyleSheet(
        QStringLiteral("QPushButton { color: white; background-color: #5383B5; border: none; padding: 6px 18px; }"
                       "QPushButton:disabled { color: #D8E2EE; background-color: #98B2CE; }"));
    // Shadows go on widgets with a background of their own; on bare frames
    // they would blur the text and icons inside.
    ui->frame_nav->setStyleSheet(QStringLiteral("QFrame#frame_nav { background: white; border-radius: 4px; }"));
    for (QWidget* w : {static_cast<QWidget*>(ui->button_browse), static_cast<QWidget*>(ui->button_back),
                       static_cast<QWidget*>(ui->button_delete_marker), static_cast<QWidget*>(ui->button_done),
                       static_cast<QWidget*>(ui->frame_nav)})
        addShadow(w);

    ImagePane* pane = ui->pane_image;
    connect(pane, &ImagePane::markerPlaced, this, &MarkerEditor::enableDeleteButton);
    connect(pane, &ImagePane::markerChanged, this, &MarkerEditor::onMarkChanged);
    connect(pane, &ImagePane::imageShowing, this, &MarkerEditor::imageShowing);
    connect(pane, &ImagePane::markerAdded, this, &MarkerEditor::markerAdded);
    connect(pane, &ImagePane::markerAdded, this, [this](const QString& path) { m_assist->consume(m_gcpName, path); });
    connect(ui->checkBox_filterByGps, &QCheckBox::toggled, this, &MarkerEditor::on_checkbox_filterByGps_toggled);
    connect(m_thumbs, &GcpThumbnailVC::imageToOpen, this, &MarkerEditor::openImage);
    connect(m_thumbs, &GcpThumbnailVC::imagesChanged, this, &MarkerEditor::onContextShowInfoText);
    connect(m_thumbs, &GcpThumbnailVC::afterGPSFiltered, this, &MarkerEditor::onAfterGPSFiltered);

    connect(this, &MarkerEditor::returnButtonClicked, this, [this] {
        if (m_browseMarkedOnly)
            on_button_back_clicked();
    });

    emit thumbnailToShow(true);
    ui->stackedWidget->setCurrentIndex(0);
    ui->vlayout_thumbnail->addWidget(m_thumbs->view());
    ui->label_gcp_info->hide();
    ui->label_gcp_coords->hide();
    ui->checkBox_filterByGps->setVisible(false);
    onContextShowInfoText();
    updateNavigation();
}

MarkerEditor::~MarkerEditor()
{
    delete ui;
}

ImagePane* MarkerEditor::imagePane() const
{
    return ui->pane_image;
}

void MarkerEditor::setMarkerMap(MarkerMap* markers)
{
    m_markers = markers;
    ui->pane_image->setMarkerMap(markers);
    refresh();
}

void MarkerEditor::setGcpMap(const GcpMap* gcps)
{
    m_gcps = gcps;
    ui->pane_image->setGcpMap(gcps);
}

void MarkerEditor::setGeoCache(PhotoGeoCache* cache)
{
    m_geo = cache;
    m_thumbs->setGeoCache(cache);
    m_assist->setGeoCache(cache);
}

void MarkerEditor::setFiles(const QStringList& files)
{
    m_thumbs->setFiles(files);
    if (m_geo)
        m_geo->request(files);
    m_assist->setPhotos(files);
    onContextShowInfoText();
}

void MarkerEditor::setThumbnailData(const QHash<QString, QImage>& thumbnails)
{
    // The browser's items share the canvas's decoded thumbnails through the
    // host's thumbnail cache; nothing to copy.
    Q_UNUSED(thumbnails)
}

void MarkerEditor::setCoordSys(const AppCreate::GcpCoordSysInfo& coordSys)
{
    m_coordSys = coordSys;
    if (isFilterByGpsChecked())
        runGpsFilter();
    updateAssist();
}

void MarkerEditor::setCoordsTemplate(const QString& text)
{
    m_coordsTemplate = text;
    updateGcpLabels();
}

void MarkerEditor::setSelectedGcp(const QString& name)
{
    if (name == m_gcpName)
        return;
    m_gcpName = name;
    ui->pane_image->setSelectedGcp(name);
    m_assistBar->setPoint(name);
    m_assistPaneBar->setPoint(name);
    updateGcpLabels();
    updateBadges();
    updateAssist();
    if (isFilterByGpsChecked())
        runGpsFilter();
    onContextShowInfoText();
    updateNavigation();
}

QList<GcpMarker> MarkerEditor::markersOfSelected() const
{
    return m_markers && !m_gcpName.isEmpty() ? m_markers->value(m_gcpName) : QList<GcpMarker>();
}

QStringList MarkerEditor::markedImages() const
{
    QStringList images;
    for (const GcpMarker& marker : markersOfSelected())
        images << marker.image;
    return images;
}

void MarkerEditor::setEmbedded(bool embedded)
{
    m_showFilterWithHint = !embedded;
    ui->checkBox_filterByGps->setVisible(!embedded && m_noMarker);
    ui->frame_done->setVisible(!embedded);
}

void MarkerEditor::setBrowseHint(const QString& hint, bool show, bool noMarker)
{
    m_showHint = show;
    m_noMarker = noMarker;
    ui->frame_browse_button->setVisible(show);
    ui->button_browse->setText(hint);
    ui->button_browse->setEnabled(!noMarker);
    if (m_showFilterWithHint)
        ui->checkBox_filterByGps->setVisible(noMarker || isFilterByGpsChecked());
}

void MarkerEditor::setFilterByGpsChecked(bool checked)
{
    disconnect(ui->checkBox_filterByGps, &QCheckBox::toggled, this, &MarkerEditor::on_checkbox_filterByGps_toggled);
    ui->checkBox_filterByGps->setChecked(checked);
    connect(ui->checkBox_filterByGps, &QCheckBox::toggled, this, &MarkerEditor::on_checkbox_filterByGps_toggled);
    onFilteredByGPSCheckedStateChanged(checked);
}

bool MarkerEditor::isFilterByGpsChecked() const
{
    return ui->checkBox_filterByGps->isChecked();
}

void MarkerEditor::setFilterByGpsIdle()
{
    ui->checkBox_filterByGps->setText(tr("Filter by GPS"));
    ui->checkBox_filterByGps->setEnabled(true);
}

bool MarkerEditor::isFiltering() const
{
    return m_thumbs->isFiltering();
}

void MarkerEditor::cancelFiltering()
{
    m_thumbs->cancelFiltering();
    setFilterByGpsIdle();
}

bool MarkerEditor::isShowingThumbnails() const
{
    return ui->stackedWidget->currentIndex() == 0;
}

void MarkerEditor::onFilteredByGPSCheckedStateChanged(bool checked)
{
    // While filtering, step through the photos near the point; otherwise
    // through the photos where it is marked.
    m_browseMarkedOnly = !checked;
    if (checked) {
        runGpsFilter();
    } else {
        m_thumbs->clearGpsFilter();
        setFilterByGpsIdle();
        onContextShowInfoText();
    }
    updateNavigation();
}

void MarkerEditor::on_checkbox_filterByGps_toggled(bool checked)
{
    emit filterByGPSCheckedStateChanged(checked);
    onFilteredByGPSCheckedStateChanged(checked);
}

GroundPoint MarkerEditor::groundPointOf(const QString& name, bool* valid) const
{
    GroundPoint point;
    *valid = false;
    if (m_gcps && m_gcps->contains(name) && m_coordSys.isValid()) {
        const GcpInfo gcp = m_gcps->value(name);
        double x = gcp.coord1, y = gcp.coord2, z = gcp.coord3;
        *valid = Tarn::GIS::transformCoordToLL84(m_coordSys.code, x, y, z)
                 && Tarn::GIS::isPolarCoordValid(y, x, true);
        point.longitude = x;
        point.latitude = y;
        point.z = gcp.coord3;
        point.hasZ = gcp.coord3 != 0.0;
    }
    return point;
}

void MarkerEditor::runGpsFilter()
{
    bool valid = false;
    const GroundPoint point = groundPointOf(m_gcpName, &valid);
    ui->checkBox_filterByGps->setText(tr("Filtering by GPS"));
    ui->checkBox_filterByGps->setEnabled(false);
    m_thumbs->startGpsFilter(point, valid);
}

void MarkerEditor::onAfterGPSFiltered(int count)
{
    onContextShowInfoText();
    setFilterByGpsIdle();
    m_thumbs->refresh();
    updateNavigation();
    emit afterGPSFiltered(count);
}

void MarkerEditor::onContextShowInfoText()
{
    const int total = m_thumbs->model() ? m_thumbs->files().size() : 0;
    int shown = total;
    if (m_markers && m_markers->contains(m_gcpName))
        shown = markersOfSelected().size();
    else if (isFilterByGpsChecked())
        shown = m_thumbs->gcpProxy()->isGpsFiltered() ? m_thumbs->gcpProxy()->gpsPassingCount() : total;
    // Singular and plural read the same; both are kept for translators.
    const QString text = shown == 1 ? tr("Displaying images: %3 of %4") : tr("Displaying images: %3 of %4", "plural");
    ui->label_image_info->setText(text.arg(shown).arg(total));
}

void MarkerEditor::updateGcpLabels()
{
    if (m_gcpName.isEmpty()) {
        ui->label_gcp_info->hide();
        ui->label_gcp_coords->hide();
        ui->label_gcp_info->clear();
        ui->label_gcp_coords->clear();
        return;
    }
    const int count = markersOfSelected().size();
    const QString name = m_gcpName.size() > kNameChars ? m_gcpName.left(kNameChars) + QStringLiteral("...")
                                                       : m_gcpName;
    ui->label_gcp_info->setText((count == 1 ? tr("%1 found on %2 image") : tr("%1 found on %2 images"))
                                    .arg(name)
                                    .arg(count));
    QString coords;
    if (m_gcps && m_gcps->contains(m_gcpName) && !m_coordsTemplate.isEmpty()) {
        const GcpInfo gcp = m_gcps->value(m_gcpName);
        coords = m_coordsTemplate;
        coords = coords.arg(QString::number(gcp.coord1, 'f', Tarn::GIS::isPolarCS(m_coordSys.code) ? 8 : 3),
                            QString::number(gcp.coord2, 'f', Tarn::GIS::isPolarCS(m_coordSys.code) ? 8 : 3),
                            QString::number(gcp.coord3, 'f', 3));
    }
    ui->label_gcp_coords->setText(coords);
    ui->label_gcp_coords->setToolTip(coords);
    ui->label_gcp_info->show();
    ui->label_gcp_coords->show();
}

void MarkerEditor::updateBadges()
{
    const QStringList images = markedImages();
    const QColor colour = m_gcps && m_gcps->contains(m_gcpName) ? gcpColor(m_gcps->value(m_gcpName))
                                                                : gcpColorForName(m_gcpName);
    m_thumbs->setMarked(QSet<QString>(images.cbegin(), images.cend()), colour);
}

void MarkerEditor::refresh()
{
    updateGcpLabels();
    updateBadges();
    onContextShowInfoText();
    if (!isShowingThumbnails())
        ui->pane_image->refreshMarkers();
    updateNavigation();
}

void MarkerEditor::onGcpNameChanged(const QString& oldName, const QString& newName)
{
    if (m_gcpName == oldName) {
        m_gcpName.clear();
        setSelectedGcp(newName);
    }
}

void MarkerEditor::onGcpCoordsChanged()
{
    updateGcpLabels();
    if (isFilterByGpsChecked())
        runGpsFilter();
    updateAssist();
}

AssistBar* MarkerEditor::assistBar() const
{
    return isShowingThumbnails() ? m_assistBar : m_assistPaneBar;
}

void MarkerEditor::updateAssist()
{
    bool valid = false;
    const GroundPoint point = groundPointOf(m_gcpName, &valid);
    QVector<GroundPoint> others;
    for (const QString& name : m_gcps ? m_gcps->keys() : QStringList()) {
        bool known = false;
        const GroundPoint other = groundPointOf(name, &known);
        if (known && name != m_gcpName)
            others << other;
    }
    m_assist->setOtherPoints(others);
    m_assist->setPoint(m_gcpName, point, valid, markersOfSelected());
    showAssistOnPane();
}

void MarkerEditor::showAssistOnPane()
{
    const bool has = m_assist->hasSuggestion(m_gcpName, m_imagePath);
    const MarkSuggestion suggestion = m_assist->suggestion(m_gcpName, m_imagePath);
    const MarkPrediction prediction = m_assist->prediction(m_imagePath);
    ui->pane_image->setAssistOverlay(m_assist->hasPrediction(m_imagePath) && prediction.inside ? &prediction : nullptr,
                                     has ? &suggestion : nullptr);
    m_thumbs->setAssist(m_assist, m_gcpName);
}

bool MarkerEditor::acceptOpenSuggestion()
{
    ImagePane* pane = ui->pane_image;
    if (isShowingThumbnails() || !pane->hasSuggestion() || pane->hasPlacedMarker() || pane->isLocked())
        return false;
    pane->acceptSuggestion();
    openNextSuggestion();
    return true;
}

bool MarkerEditor::rejectOpenSuggestion()
{
    if (isShowingThumbnails() || !ui->pane_image->hasSuggestion() || ui->pane_image->hasPlacedMarker())
        return false;
    m_assist->reject(m_gcpName, m_imagePath);
    openNextSuggestion();
    return true;
}

void MarkerEditor::openNextSuggestion()
{
    const QStringList waiting = m_assist->suggestedPhotos(m_gcpName);
    if (waiting.isEmpty())
        return;
    // The next one after the open photo in photo order, else the first.
    const QStringList files = m_thumbs->files();
    const int here = files.indexOf(m_imagePath);
    QString next = waiting.first();
    for (const QString& path : waiting)
        if (files.indexOf(path) > here) {
            next = path;
            break;
        }
    openImage(next);
}

int MarkerEditor::acceptSuggestionsAbove(double score)
{
    if (!m_markers || m_gcpName.isEmpty())
        return 0;
    int accepted = 0;
    const QStringList marked = markedImages();
    for (const QString& path : m_assist->suggestedPhotos(m_gcpName)) {
        const MarkSuggestion s = m_assist->suggestion(m_gcpName, path);
        if (s.score < score || marked.contains(path))
            continue;
        GcpMarker marker;
        marker.image = path;
        marker.pixel = QPoint(qRound(s.pixel.x()), qRound(s.pixel.y()));
        (*m_markers)[m_gcpName] << marker;
        m_assist->consume(m_gcpName, path);
        ++accepted;
        emit markerAdded(path);
    }
    if (accepted > 0) {
        refresh();
        updateAssist();
        emit markerChanged();
    }
    return accepted;
}

void MarkerEditor::detectCodedTargets()
{
    m_assist->detectCodedTargets(m_gcps ? m_gcps->keys() : QStringList(), m_markers ? *m_markers : MarkerMap());
}

QStringList MarkerEditor::navigationList() const
{
    return m_browseMarkedOnly ? markedImages() : m_thumbs->visiblePaths();
}

void MarkerEditor::updateNavigation()
{
    const QStringList list = navigationList();
    const int index = list.indexOf(m_imagePath);
    const int last = list.size() - 1;
    if (index < 0 || last < 0 || index > last) {
        ui->button_prev->setEnabled(false);
        ui->button_next->setEnabled(false);
        ui->label_nav_info->clear();
        return;
    }
    ui->button_prev->setEnabled(index >= 1);
    ui->button_next->setEnabled(index < last);
    ui->label_nav_info->setText(tr("%1 of %2").arg(index + 1).arg(last + 1));
}

void MarkerEditor::openImage(const QString& filePath)
{
    if (m_gcpName.isEmpty()) {
        UiBase::TaskDialog::showErrorMessage(this, tr("Select or add a Ground Control Point."));
        return;
    }
    if (filePath.isEmpty())
        return;
    ui->pane_image->showImage(filePath);
    m_imagePath = filePath;
    showAssistOnPane();
    ui->label_image_name->setText(QDir::toNativeSeparators(filePath));
    updateNavigation();
    ui->button_delete_marker->setEnabled(ui->pane_image->hasPlacedMarker());
    emit thumbnailToShow(false);
    ui->stackedWidget->setCurrentIndex(1);
    m_thumbs->setCurrentPath(filePath);
    ui->pane_image->setFocus(Qt::OtherFocusReason);
}

void MarkerEditor::enableDeleteButton()
{
    ui->button_delete_marker->setEnabled(true);
}

void MarkerEditor::onMarkChanged()
{
    updateAssist();
    updateGcpLabels();
    updateBadges();
    onContextShowInfoText();
    updateNavigation();
    ui->button_delete_marker->setEnabled(ui->pane_image->hasPlacedMarker());
    emit markerChanged();
}

void MarkerEditor::onMarkedImageUpdated(bool closed)
{
    Q_UNUSED(closed)
    refresh();
}

void MarkerEditor::on_button_prev_clicked()
{
    const QStringList list = navigationList();
    const int index = list.indexOf(m_imagePath);
    if (index >= 1)
        openImage(list.at(index - 1));
}

void MarkerEditor::on_button_next_clicked()
{
    const QStringList list = navigationList();
    const int index = list.indexOf(m_imagePath);
    if (index >= 0 && index + 1 < list.size())
        openImage(list.at(index + 1));
}

void MarkerEditor::on_button_delete_marker_clicked()
{
    const QString current = m_imagePath;
    if (markedImages().contains(current)) {
        // Move on first, so the photo list does not shrink under the user.
        if (ui->button_next->isEnabled())
            on_button_next_clicked();
        else if (ui->button_prev->isEnabled())
            on_button_prev_clicked();
        const QString shown = ui->pane_image->currentImage();
        if (shown != current) {
            // The marker lives on a photo no longer shown: remove it from the map.
            if (m_markers && m_markers->contains(m_gcpName)) {
                QList<GcpMarker>& list = (*m_markers)[m_gcpName];
                for (int i = list.size() - 1; i >= 0; --i)
                    if (list.at(i).image == current) {
                        list.removeAt(i);
                        break;
                    }
                if (list.isEmpty())
                    m_markers->remove(m_gcpName);
            }
            ui->pane_image->refreshMarkers();
        } else {
            ui->pane_image->removeCurrentMarker();
        }
        emit markerDeleted(current);
        if (!ui->pane_image->hasPlacedMarker())
            ui->button_delete_marker->setEnabled(false);
        updateGcpLabels();
        updateBadges();
        onContextShowInfoText();
        updateNavigation();
        if (!markedImages().contains(m_imagePath))
            emit returnButtonClicked();
        emit markedImageUpdated(false);
        emit markerChanged();
        return;
    }
    ui->pane_image->removeCurrentMarker();
    emit markerDeleted(current);
    ui->button_delete_marker->setEnabled(false);
    emit markerChanged();
}

void MarkerEditor::on_button_back_clicked()
{
    if (ui->pane_image->hasPlacedMarker())
        emit markerAdded(m_imagePath);
    connect(this, &MarkerEditor::returnButtonClicked, this, [this] {
        if (m_browseMarkedOnly)
            on_button_back_clicked();
    });

    emit thumbnailToShow(true);
    ui->stackedWidget->setCurrentIndex(0);
    m_thumbs->view()->setFocus(Qt::OtherFocusReason);
    emit markedImageUpdated(true);
    refresh();
}

void MarkerEditor::on_button_return_clicked()
{
    on_button_back_clicked();
}

void MarkerEditor::on_button_browse_clicked()
{
    emit browseButtonClicked();
}

void MarkerEditor::on_button_done_clicked()
{
    emit doneButtonClicked();
}

void MarkerEditor::keyPressEvent(QKeyEvent* event)
{
    if (!isShowingThumbnails()) {
        switch (event->key()) {
        case Qt::Key_PageUp:
            on_button_prev_clicked();
            return;
        case Qt::Key_PageDown:
            on_button_next_clicked();
            return;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (acceptOpenSuggestion())
                return;
            break;
        case Qt::Key_Delete:
            if (rejectOpenSuggestion())
                return;
            if (ui->button_delete_marker->isEnabled())
                on_button_delete_marker_clicked();
            return;
        case Qt::Key_Escape:
            on_button_back_clicked();
            return;
        default:
            break;
        }
    }
    QWidget::keyPressEvent(event);
}

} // namespace AppGcp
} // namespace Zyn
