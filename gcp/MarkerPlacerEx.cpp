#include "MarkerPlacerEx.h"
#include "ui_MarkerPlacerEx.h"

#include "MarkerEditor.h"

namespace Zyn {
namespace AppGcp {

MarkerPlacerEx::MarkerPlacerEx(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::MarkerPlacerEx)
{
    ui->setupUi(this);
    setWindowTitle(tr("Survey Points"));
    ui->button_closeview->setToolTip(tr("Back"));
    ui->splitter->setStyleSheet(QStringLiteral(
        "QSplitter::handle:horizontal { background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #EEEEEE, "
        "stop:1 #CCCCCC); width: 6px; }"));
    ui->button_closeview->setStyleSheet(
        QStringLiteral("QToolButton { border: none; image: url(:/resources/images/sys_close_18.png); }"
                       "QToolButton:hover { image: url(:/resources/images/sys_close_hover_18.png); }"));
    connect(ui->button_closeview, &QToolButton::clicked, this, &MarkerPlacerEx::closeRequested);
    for (MarkerEditor* side : {ui->pane_left, ui->pane_right}) {
        connect(side, &MarkerEditor::imageShowing, this, &MarkerPlacerEx::onImageShowing);
        connect(side, &MarkerEditor::markerAdded, this, &MarkerPlacerEx::onMarkerAdded);
        connect(side, &MarkerEditor::markerDeleted, this, &MarkerPlacerEx::onMarkerDeleted);
        connect(side, &MarkerEditor::markerChanged, this, &MarkerPlacerEx::onMarkerChanged);
        connect(side, &MarkerEditor::filterByGPSCheckedStateChanged, this,
                &MarkerPlacerEx::onFilterByGPSCheckedStateChanged);
        // The two sides place; they have no table to go back to.
        side->setBrowseHint(QString(), false, false);
    }
}

MarkerPlacerEx::~MarkerPlacerEx()
{
    delete ui;
}

MarkerEditor* MarkerPlacerEx::leftEditor() const
{
    return ui->pane_left;
}

MarkerEditor* MarkerPlacerEx::rightEditor() const
{
    return ui->pane_right;
}

MarkerEditor* MarkerPlacerEx::otherSide(QObject* side) const
{
    return side == ui->pane_left ? ui->pane_right : ui->pane_left;
}

void MarkerPlacerEx::setMarkerMap(MarkerMap* markers)
{
    ui->pane_left->setMarkerMap(markers);
    ui->pane_right->setMarkerMap(markers);
}

void MarkerPlacerEx::setGcpMap(const GcpMap* gcps)
{
    ui->pane_left->setGcpMap(gcps);
    ui->pane_right->setGcpMap(gcps);
}

void MarkerPlacerEx::setGeoCache(PhotoGeoCache* cache)
{
    ui->pane_left->setGeoCache(cache);
    ui->pane_right->setGeoCache(cache);
}

void MarkerPlacerEx::setFiles(const QStringList& files)
{
    ui->pane_left->setFiles(files);
    ui->pane_right->setFiles(files);
}

void MarkerPlacerEx::setCoordSys(const AppCreate::GcpCoordSysInfo& coordSys, const QString& coordsTemplate)
{
    for (MarkerEditor* side : {ui->pane_left, ui->pane_right}) {
        side->setCoordSys(coordSys);
        side->setCoordsTemplate(coordsTemplate);
    }
}

void MarkerPlacerEx::openAt(const QString& gcpName)
{
    ui->pane_left->setSelectedGcp(gcpName);
    ui->pane_right->setSelectedGcp(gcpName);
    const QStringList marked = ui->pane_left->navigationList();
    if (!marked.isEmpty())
        ui->pane_left->openImage(marked.first());
    if (marked.size() > 1)
        ui->pane_right->openImage(marked.at(1));
}

void MarkerPlacerEx::onGcpNameChanged(const QString& oldName, const QString& newName)
{
    ui->pane_left->onGcpNameChanged(oldName, newName);
    ui->pane_right->onGcpNameChanged(oldName, newName);
}

void MarkerPlacerEx::onGcpDeleted(const QString& gcpName)
{
    for (MarkerEditor* side : {ui->pane_left, ui->pane_right})
        if (side->selectedGcp() == gcpName)
            side->setSelectedGcp(QString());
}

void MarkerPlacerEx::onImageShowing(const QString& filePath, bool show)
{
    Q_UNUSED(filePath)
    Q_UNUSED(show)
}

void MarkerPlacerEx::onMarkerAdded(const QString& filePath)
{
    if (MarkerEditor* other = otherSide(sender()))
        other->refresh();
    emit markerAdded(filePath);
}

void MarkerPlacerEx::onMarkerDeleted(const QString& filePath)
{
    if (MarkerEditor* other = otherSide(sender()))
        other->refresh();
    emit markerDeleted(filePath);
}

void MarkerPlacerEx::onMarkerChanged()
{
    if (MarkerEditor* other = otherSide(sender()))
        other->refresh();
    emit markerChanged();
}

void MarkerPlacerEx::onFilterByGPSCheckedStateChanged(bool checked)
{
    if (MarkerEditor* other = otherSide(sender()))
        other->setFilterByGpsChecked(checked);
    emit filterByGPSCheckedStateChanged(checked);
}

} // namespace AppGcp
} // namespace Zyn
