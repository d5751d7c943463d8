#include "GcpInfoEditor.h"
#include "ui_GcpInfoEditor.h"

#include <coordsys/CoordSysDialog.h>
#include <gcp/MarkerEditor.h>
#include <gcp/model/GcpColor.h>
#include <gcp/model/GcpListFile.h>
#include <gcp/model/GcpPasteFlow.h>
#include <gcp/model/SurveyAutosave.h>
#include <gcp/model/SurveyFileFlow.h>
#include <gcp/GcpThumbnailVC.h>
#include <uibase/TaskDialog.h>
#include <gis/Gis.h>
#include <maps/MapsViewController.h>
#include <spatialreference/SpatialReference.h>
#include <uibase/FileDialog.h>
#include <uibase/QtUiToolkit.h>
#include <uitoolkit/LxMagnifyingGlass.h>
#include <utilities/ResourceStrings.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QMouseEvent>
#include <QTableWidget>

namespace Zyn {
namespace AppGcp {

namespace {
const char* const kNavigateProperty = UiToolkit::MapsViewController::NavigateToLinkName;
const QChar kStatusBullet(0x2666);

// Worst first, the order in which a row's tooltip lists its problems.
const int kTooltipOrder[] = {2, 3, 4, 5, 6, 1};

QString unitName(int unitCode)
{
    SpatialReference::TagString name;
    if (SpatialReference::GetUnitCodeIdentifier(static_cast<SpatialReference::UnitCode>(unitCode), name)
        != SpatialReference::Success)
        return {};
    return name.toQString();
}

class NoEditCheckItem : public QTableWidgetItem {
public:
    explicit NoEditCheckItem(bool checked)
    {
        setFlags((flags() | Qt::ItemIsUserCheckable) & ~Qt::ItemIsEditable);
        setCheckState(checked ? Qt::Checked : Qt::Unchecked);
    }
};
} // namespace

GcpInfoEditor::GcpInfoEditor(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::GcpInfoEditor)
    , m_swapCursor(QPixmap(QStringLiteral(":/resources/images/cursors/cursor_swap.png")), 0, 0)
    , m_noSwapCursor(QPixmap(QStringLiteral(":/resources/images/cursors/cursor_noswap.png")), 0, 0)
{
    ui->setupUi(this);
    setWindowTitle(tr("Survey Points"));
    setStyleSheet(QStringLiteral("QWidget:disabled { color: #808080; background-color: #F0F0F0; }"
                                 "QPushButton { font-family: Arial; font-size: 14px; padding-left: 20px;"
                                 " padding-right: 20px; }"));

    const QString noError = QStringLiteral(":/resources/images/gcp_status_noerror.png");
    const QString warning = QStringLiteral(":/resources/images/gcp_status_warning.png");
    const QString error = QStringLiteral(":/resources/images/gcp_status_error.png");
    m_statusInfo.insert(0, {noError, Resource::String::GCP_VALID_MSG});
    m_statusInfo.insert(1, {warning, Resource::String::GCP_INSUFFICIENT_MARKERS_WARNING_MSG});
    m_statusInfo.insert(5, {warning, Resource::String::GCP_PHOTO_PROXIMITY_WARNING_MSG});
    m_statusInfo.insert(6, {warning, Resource::String::GCP_CHECKPOINT_WARNING_MSG});
    m_statusInfo.insert(3, {error, Resource::String::GCP_INVALID_RANGE_ERROR_MSG});
    m_statusInfo.insert(4, {error, Resource::String::GCP_PIXEL_VALUE_ERROR_MSG});
    m_statusInfo.insert(2, {error, Resource::String::GCP_DUPLICATE_COORD_ERROR_MSG});
    m_statusIcons[0] = QIcon(noError);
    m_statusIcons[1] = QIcon(warning);
    m_statusIcons[2] = QIcon(error);

    QTableWidget* table = ui->gcp_names_tableWidget;
    QHeaderView* header = table->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::Fixed);
    header->setDefaultSectionSize(99);
    header->setSectionResizeMode(ColStatus, QHeaderView::ResizeToContents);
    header->setStretchLastSection(true);
    header->setDefaultAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    table->horizontalHeaderItem(ColStatus)->setIcon(QIcon(QStringLiteral(":/resources/images/gcp_status.png")));
    table->verticalHeader()->hide();
    table->viewport()->setMouseTracking(true);
    table->viewport()->installEventFilter(this);
    table->setContextMenuPolicy(Qt::CustomContextMenu);

    m_placeholder = new QLabel(tr("Click Add Row or Copy/Paste from .xls, .csv or .txt file."), table->viewport());
    m_placeholder->setAlignment(Qt::AlignCenter);
    m_placeholder->setWordWrap(true);
    m_placeholder->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_placeholder->setStyleSheet(QStringLiteral(
        "QLabel { font-family: Arial; font-size: 16px; font-style: italic; font-weight: bold; color: #AFAFAF; }"));

    ui->magnifyingGlass->setLock(true);
    ui->magnifyingGlass->setShowCustomText(true);
    ui->frame_mg->hide();
    ui->verticalLayout_right->setStretch(1, 1);
    ui->save_button->setEnabled(false);
    ui->photoMapView->setCurrentIndex(0);
    ui->filter_swidget->setCurrentIndex(0);
    placeMagnifier();

    m_coordSys = AppCreate::CoordSysDialog::loadGcpCoordSysInfo(true);
    ui->coord_sys_selector->setInput(true);
    {
        const QSignalBlocker block(ui->coord_sys_selector);
        ui->coord_sys_selector->setCoordSysData(m_coordSys);
    }
    rebuildHeaders();

    MarkerEditor* markers = ui->marker_editor;
    markers->setCoordSys(m_coordSys);
    markers->setCoordsTemplate(m_coordsTemplate);
    // The table has the filter box and Done; the marker editor's stay hidden.
    markers->setEmbedded(true);
    markers->setMarkerMap(&m_markers);
    markers->setGcpMap(&m_gcps);
    connect(markers, &MarkerEditor::markerAdded, this, &GcpInfoEditor::onMarkerAdded);
    connect(markers, &MarkerEditor::markerDeleted, this, &GcpInfoEditor::onMarkerDeleted);
    connect(markers, &MarkerEditor::markerChanged, this, &GcpInfoEditor::changed);
    connect(markers, &MarkerEditor::thumbnailToShow, this, &GcpInfoEditor::onThumbnailToShow);
    connect(markers, &MarkerEditor::afterGPSFiltered, this, &GcpInfoEditor::onAfterGPSFiltered);
    connect(markers, &MarkerEditor::doneButtonClicked, this, &GcpInfoEditor::on_button_done_clicked);
    connect(ui->cb_gps_filter, &QCheckBox::toggled, markers, &MarkerEditor::setFilterByGpsChecked);
    connect(markers, &MarkerEditor::filterByGPSCheckedStateChanged, this, [this](bool checked) {
        const QSignalBlocker block(ui->cb_gps_filter);
        ui->cb_gps_filter->setChecked(checked);
    });
    connect(ui->coord_sys_selector, &AppCreate::CoordSysSelector::coordSysSelectionChanged, this,
            &GcpInfoEditor::onCoordSysSelectionChanged);
    connectItemChanged(true);
    connect(table, &QTableWidget::itemSelectionChanged, this,
            &GcpInfoEditor::onGcpNamesTableWidgetItemSelectionChanged);
    connect(table->model(), &QAbstractItemModel::rowsInserted, this, &GcpInfoEditor::onRowsInserted);
    connect(table->model(), &QAbstractItemModel::rowsRemoved, this, &GcpInfoEditor::onRowsRemoved);
    connect(table, &QWidget::customContextMenuRequested, this, &GcpInfoEditor::onCustomContextMenuRequested);
    connect(this, &GcpInfoEditor::gcpSelected, this, &GcpInfoEditor::onGcpSelected);

    auto* paste = new QAction(this);
    paste->setShortcut(QKeySequence::Paste);
    paste->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(paste, &QAction::triggered, this, &GcpInfoEditor::onContextMenuPasteTriggered);
    table->addAction(paste);

    refreshPlaceholderAndButtons();
    refreshHint();
}

GcpInfoEditor::~GcpInfoEditor()
{
    delete ui;
}

MarkerEditor* GcpInfoEditor::markerEditor() const
{
    return ui->marker_editor;
}

QWidget* GcpInfoEditor::mapViewContainer() const
{
    return ui->mapView;
}

void GcpInfoEditor::setMapBridge(GcpMapBridge* map)
{
    if (m_map)
        disconnect(m_map, nullptr, this, nullptr);
    m_map = map;
    if (!m_map)
        return;
    connect(m_map, &GcpMapBridge::tagPhotos, this, &GcpInfoEditor::onTagPhotos);
    connect(m_map, &GcpMapBridge::pinClicked, this, &GcpInfoEditor::onPinClicked);
    m_map->setGcpData(&m_gcps, m_coordSys);
    mapRefresh();
}

void GcpInfoEditor::connectItemChanged(bool on)
{
    if (on == m_itemChangedConnected)
        return;
    if (on)
        connect(ui->gcp_names_tableWidget, &QTableWidget::itemChanged, this,
                &GcpInfoEditor::onGcpNamesTableWidgetItemChanged);
    else
        disconnect(ui->gcp_names_tableWidget, &QTableWidget::itemChanged, this,
                   &GcpInfoEditor::onGcpNamesTableWidgetItemChanged);
    m_itemChangedConnected = on;
}

QString GcpInfoEditor::unitAbbreviation(const QString& unitName)
{
    static const QHash<QString, QString> abbreviations = {
        {QStringLiteral("Degree"), QString(QChar(0x00B0))},
        {QStringLiteral("Meter"), tr("m")},
        {QStringLiteral("Inch"), tr("in")},
        {QStringLiteral("Foot"), tr("ft")},
        {QStringLiteral("Kilometer"), tr("km")},
        {QStringLiteral("Centimeter"), tr("cm")},
        {QStringLiteral("Yard"), tr("yd")},
        {QStringLiteral("Mile"), tr("mi")},
        {QStringLiteral("Decimeter"), tr("dm")},
        {QStringLiteral("Millimeter"), tr("mm")},
        {QStringLiteral("Dekameter"), tr("dam")},
        {QStringLiteral("Hectometer"), tr("hm")},
        {QStringLiteral("MicroInch"), QStringLiteral("%1in").arg(QChar(0x03BC))},
        {QStringLiteral("Radian"), tr("rad")},
        {QStringLiteral("Second"), tr("sec")},
    };
    return abbreviations.value(unitName, unitName);
}

QString GcpInfoEditor::axisShortName(const QString& axisName)
{
    static const QHash<QString, QString> shortNames = {
        {QStringLiteral("Latitude"), QStringLiteral("Lat")},
        {QStringLiteral("Longitude"), QStringLiteral("Long")},
        {QStringLiteral("Altitude"), QStringLiteral("Alt")},
    };
    return shortNames.value(axisName, axisName);
}

QString GcpInfoEditor::formatCoord(double value, bool geographic)
{
    // Enough decimals for a millimetre, or for 1e-9 degree; no trailing zeros.
    static const QLocale locale = [] {
        QLocale l = QLocale::system();
        l.setNumberOptions(QLocale::OmitGroupSeparator);
        return l;
    }();
    QString text = locale.toString(value, 'f', geographic ? 9 : 4);
    const QString point = locale.decimalPoint();
    if (text.contains(point)) {
        while (text.endsWith(QLatin1Char('0')))
            text.chop(1);
        if (text.endsWith(point))
            text.chop(point.size());
    }
    return text;
}

void GcpInfoEditor::rebuildHeaders()
{
    const QString degree = unitName(static_cast<int>(SpatialReference::UnitCode::Degree));
    const QString unit = unitName(m_coordSys.unit);
    const bool geographic = !degree.isEmpty() && degree == unit;
    const QStringList axes = geographic ? QStringList{QStringLiteral("Longitude"), QStringLiteral("Latitude"),
                                                      QStringLiteral("Altitude")}
                                        : QStringList{QStringLiteral("X"), QStringLiteral("Y"), QStringLiteral("Z")};
    const QStringList units = geographic ? QStringList{degree, degree, QStringLiteral("Meter")}
                                         : QStringList{unit, unit, unit};
    QStringList parts;
    for (int i = 0; i < 3; ++i) {
        const QString headerText = units[i].isEmpty() ? axes[i] : axes[i] + QStringLiteral("\n(") + units[i] + ')';
        ui->gcp_names_tableWidget->horizontalHeaderItem(ColX + i)->setText(headerText);
        parts << QStringLiteral("%1: %3 (%2)")
                     .arg(axisShortName(axes[i]), unitAbbreviation(units[i]), QStringLiteral("%") + QString::number(i + 1));
    }
    m_coordsTemplate = parts.join(QStringLiteral(", "));
}

void GcpInfoEditor::onCoordSysSelectionChanged(const AppCreate::GcpCoordSysInfo& data)
{
    if (!data.isValid())
        return;
    m_coordSys = data;
    rebuildHeaders();
    // Values keep their numbers; only their display follows the new unit.
    rebuildRows(tableNames());
    emit gcpCoordsTypeChanged();
    refreshStatusIcons();
    if (m_map)
        m_map->setGcpData(&m_gcps, m_coordSys);
    ui->marker_editor->setCoordsTemplate(m_coordsTemplate);
    ui->marker_editor->setCoordSys(m_coordSys);
    changed();
}

void GcpInfoEditor::setCoordSys(const AppCreate::GcpCoordSysInfo& coordSys)
{
    if (!coordSys.isValid())
        return;
    {
        const QSignalBlocker block(ui->coord_sys_selector);
        ui->coord_sys_selector->setCoordSysData(coordSys);
    }
    onCoordSysSelectionChanged(coordSys);
}

QStringList GcpInfoEditor::tableNames() const
{
    QStringList names;
    for (int row = 0; row < ui->gcp_names_tableWidget->rowCount(); ++row)
        names << nameOfRow(row);
    return names;
}

GcpList GcpInfoEditor::gcpsInTableOrder() const
{
    GcpList list;
    for (const QString& name : tableNames())
        list << m_gcps.value(name);
    return list;
}

QString GcpInfoEditor::nameOfRow(int row) const
{
    const QTableWidgetItem* item = ui->gcp_names_tableWidget->item(row, ColName);
    return item ? item->data(Qt::UserRole).toString() : QString();
}

int GcpInfoEditor::rowOf(const QString& name) const
{
    for (int row = 0; row < ui->gcp_names_tableWidget->rowCount(); ++row)
        if (nameOfRow(row) == name)
            return row;
    return -1;
}

bool GcpInfoEditor::isUniqueName(const QString& name, int exceptRow) const
{
    for (int row = 0; row < ui->gcp_names_tableWidget->rowCount(); ++row) {
        if (row == exceptRow)
            continue;
        if (nameOfRow(row).trimmed().compare(name, Qt::CaseInsensitive) == 0)
            return false;
    }
    return true;
}

void GcpInfoEditor::fillRow(int row, const GcpInfo& gcp, bool geographic)
{
    QTableWidget* table = ui->gcp_names_tableWidget;
    auto* name = new QTableWidgetItem(gcp.name);
    name->setData(Qt::UserRole, gcp.name);
    name->setBackground(gcpColor(gcp));
    name->setForeground(QColor(0x40, 0x40, 0x40));
    table->setItem(row, ColName, name);
    const double values[3] = {gcp.coord1, gcp.coord2, gcp.coord3};
    for (int i = 0; i < 3; ++i) {
        auto* item = new QTableWidgetItem(formatCoord(values[i], geographic && i < 2));
        item->setTextAlignment(Qt::AlignCenter);
        table->setItem(row, ColX + i, item);
    }
    table->setItem(row, ColCheckpoint, new NoEditCheckItem(gcp.checkpoint));
    auto* status = new QTableWidgetItem;
    status->setFlags(status->flags() & ~Qt::ItemIsEditable);
    table->setItem(row, ColStatus, status);
}

void GcpInfoEditor::appendRow(const GcpInfo& gcp)
{
    connectItemChanged(false);
    QTableWidget* table = ui->gcp_names_tableWidget;
    const int row = table->rowCount();
    table->insertRow(row);
    fillRow(row, gcp, Tarn::GIS::isPolarCS(m_coordSys.code));
    connectItemChanged(true);
    mapPinChanged(gcp.name);
}

void GcpInfoEditor::rebuildRows(const QStringList& order)
{
    connectItemChanged(false);
    QTableWidget* table = ui->gcp_names_tableWidget;
    const QSignalBlocker block(table);
    const bool geographic = Tarn::GIS::isPolarCS(m_coordSys.code);
    QStringList names;
    for (const QString& name : order)
        if (m_gcps.contains(name))
            names << name;
    table->setUpdatesEnabled(false);
    table->setRowCount(0);
    table->setRowCount(names.size());
    for (int row = 0; row < names.size(); ++row)
        fillRow(row, m_gcps.value(names.at(row)), geographic);
    table->setUpdatesEnabled(true);
    connectItemChanged(true);
    const int row = rowOf(m_current);
    if (row >= 0)
        table->selectRow(row);
    else
        m_current.clear();
    refreshStatusIcons();
    refreshPlaceholderAndButtons();
}

void GcpInfoEditor::setSurvey(const GcpList& gcps, const MarkerMap& markersByName,
                              const AppCreate::GcpCoordSysInfo& coordSys)
{
    const QStringList oldNames = tableNames();
    for (const QString& name : oldNames)
        mapPinRemoved(name);
    m_gcps.clear();
    m_markers.clear();
    m_current.clear();
    QStringList order;
    for (const GcpInfo& gcp : gcps) {
        m_gcps.insert(gcp.name, gcp);
        order << gcp.name;
    }
    for (auto it = markersByName.cbegin(); it != markersByName.cend(); ++it)
        if (m_gcps.contains(it.key()) && !it.value().isEmpty())
            m_markers.insert(it.key(), it.value());
    if (coordSys.isValid()) {
        m_coordSys = coordSys;
        const QSignalBlocker block(ui->coord_sys_selector);
        ui->coord_sys_selector->setCoordSysData(coordSys);
        rebuildHeaders();
        ui->marker_editor->setCoordsTemplate(m_coordsTemplate);
        ui->marker_editor->setCoordSys(m_coordSys);
        emit gcpCoordsTypeChanged();
    }
    rebuildRows(order);
    emit gcpSelected(QString());
    if (m_map)
        m_map->setGcpData(&m_gcps, m_coordSys);
    mapRefresh();
    changed();
}

void GcpInfoEditor::addGcps(const GcpList& gcps, const MarkerMap& markersByName)
{
    for (const GcpInfo& gcp : gcps) {
        if (gcp.name.isEmpty() || !isUniqueName(gcp.name, -1))
            continue;
        m_gcps.insert(gcp.name, gcp);
        const QList<GcpMarker> markers = markersByName.value(gcp.name);
        if (!markers.isEmpty())
            m_markers.insert(gcp.name, markers);
        appendRow(gcp);
        emit gcpInfoAdded(gcp.name);
    }
    refreshStatusIcons();
    refreshPlaceholderAndButtons();
    changed();
}

void GcpInfoEditor::setSummary(const QString& text)
{
    ui->label_summary->setText(text);
}

void GcpInfoEditor::setStatus(const QHash<QString, QSet<int>>& statusByName)
{
    m_status = statusByName;
    refreshStatusIcons();
}

QSet<int> GcpInfoEditor::statusOfRow(int row) const
{
    const QSet<int> codes = m_status.value(nameOfRow(row));
    return codes.isEmpty() ? QSet<int>{0} : codes;
}

void GcpInfoEditor::refreshStatusIcons()
{
    connectItemChanged(false);
    QTableWidget* table = ui->gcp_names_tableWidget;
    for (int row = 0; row < table->rowCount(); ++row) {
        QTableWidgetItem* item = table->item(row, ColStatus);
        if (!item)
            continue;
        const QSet<int> codes = statusOfRow(row);
        int icon = 0;
        if (codes.contains(2) || codes.contains(3) || codes.contains(4))
            icon = 2;
        else if (codes.contains(6) || codes.contains(5) || codes.contains(1))
            icon = 1;
        QStringList lines;
        for (int code : kTooltipOrder)
            if (codes.contains(code))
                lines << QString(kStatusBullet) + ' ' + m_statusInfo.value(code).second;
        const QString tooltip = lines.isEmpty() ? m_statusInfo.value(0).second : lines.join('\n');
        // Rows whose status did not change are left alone: a large table
        // repaints only what moved.
        if (item->data(Qt::UserRole).toInt() == icon + 1 && item->toolTip() == tooltip)
            continue;
        item->setData(Qt::UserRole, icon + 1);
        item->setIcon(m_statusIcons[icon]);
        item->setToolTip(tooltip);
    }
    connectItemChanged(true);
}

void GcpInfoEditor::refreshPlaceholderAndButtons()
{
    const bool empty = ui->gcp_names_tableWidget->rowCount() == 0;
    m_placeholder->setVisible(empty);
    m_placeholder->setGeometry(ui->gcp_names_tableWidget->viewport()->rect().adjusted(16, 0, -16, 0));
    ui->save_button->setEnabled(!empty);
    ui->del_gcp_button->setEnabled(!ui->gcp_names_tableWidget->selectedItems().isEmpty());
}

QString GcpInfoEditor::placementHint(bool* noMarker) const
{
    const bool hasPoint = !m_current.isEmpty() && m_gcps.contains(m_current);
    const int count = hasPoint ? m_markers.value(m_current).size() : 0;
    if (noMarker)
        *noMarker = count == 0;
    if (!hasPoint)
        return tr("No GCP selected");
    if (count == 0)
        return tr("Select an image\nto place a GCP");
    const int remaining = 4 - count;
    const QString atLeast = remaining > 0 ? tr("at least %1").arg(remaining) : QString();
    return tr("Place GCPs on\n%1more images").arg(atLeast);
}

void GcpInfoEditor::refreshHint()
{
    bool noMarker = true;
    const QString hint = placementHint(&noMarker);
    ui->marker_editor->setBrowseHint(hint, true, noMarker);
}

void GcpInfoEditor::placeMagnifier()
{
    const int left = ui->frame_left->width();
    const int radius = std::min(height() - 300, width() - 300 - left) / 2 - 80;
    ui->magnifyingGlass->SetRadius(std::max(radius, 40));
    ui->magnifyingGlass->setMinimumSize(ui->magnifyingGlass->VisualSize());
}

void GcpInfoEditor::refreshMagnifier()
{
    const QList<GcpMarker> markers = m_markers.value(m_current);
    const bool show = !m_current.isEmpty() && !markers.isEmpty() && ui->marker_editor->isShowingThumbnails();
    ui->frame_mg->setVisible(show);
    if (!show)
        return;
    const GcpMarker& marker = markers.first();
    ui->magnifyingGlass->setImage(marker.image);
    ui->magnifyingGlass->SetBorderColor(gcpColor(m_gcps.value(m_current)));
    ui->magnifyingGlass->setCustomText(m_current);
    ui->magnifyingGlass->OnCoordsChanged(marker.pixel);
}

void GcpInfoEditor::changed()
{
    refreshHint();
    refreshMagnifier();
    emit surveyChanged();
}

void GcpInfoEditor::selectGcp(const QString& name)
{
    const int row = rowOf(name);
    if (row < 0) {
        ui->gcp_names_tableWidget->clearSelection();
        return;
    }
    ui->gcp_names_tableWidget->selectRow(row);
}

void GcpInfoEditor::on_gcp_names_tableWidget_cellPressed(int row, int column)
{
    Q_UNUSED(column)
    const QString name = nameOfRow(row);
    if (!name.isEmpty() && name != m_current) {
        m_current = name;
        emit gcpSelected(name);
    }
}

void GcpInfoEditor::onGcpNamesTableWidgetItemSelectionChanged()
{
    const QList<QTableWidgetItem*> selected = ui->gcp_names_tableWidget->selectedItems();
    const QString name = selected.isEmpty() ? QString() : nameOfRow(selected.first()->row());
    refreshPlaceholderAndButtons();
    if (name == m_current)
        return;
    m_current = name;
    emit gcpSelected(name);
}

void GcpInfoEditor::onGcpSelected(const QString& gcpName)
{
    ui->marker_editor->setSelectedGcp(gcpName);
    refreshHint();
    refreshMagnifier();
}

void GcpInfoEditor::onGcpNamesTableWidgetItemChanged(QTableWidgetItem* item)
{
    if (!item)
        return;
    const int row = item->row();
    const QString oldName = nameOfRow(row);
    if (!m_gcps.contains(oldName) || item->column() >= ColStatus)
        return;
    m_current = oldName;
    QTableWidget* table = ui->gcp_names_tableWidget;

    if (item->column() == ColName && item->text() != oldName) {
        const QString newName = item->text().trimmed();
        if (oldName.compare(newName, Qt::CaseInsensitive) != 0 && !newName.isEmpty() && isUniqueName(newName, row)) {
            GcpInfo gcp = m_gcps.take(oldName);
            gcp.name = newName;
            gcp.colour = QColor();
            m_gcps.insert(newName, gcp);
            if (m_markers.contains(oldName))
                m_markers.insert(newName, m_markers.take(oldName));
            if (m_status.contains(oldName))
                m_status.insert(newName, m_status.take(oldName));
            connectItemChanged(false);
            item->setText(newName);
            item->setData(Qt::UserRole, newName);
            item->setBackground(gcpColor(gcp));
            connectItemChanged(true);
            m_current = newName;
            ui->magnifyingGlass->setCustomText(newName);
            emit gcpNameChanged(oldName, newName);
            mapPinRemoved(oldName);
            mapPinChanged(newName);
        } else {
            connectItemChanged(false);
            item->setText(oldName);
            connectItemChanged(true);
        }
    }

    GcpInfo& gcp = m_gcps[m_current];
    double* stored[3] = {&gcp.coord1, &gcp.coord2, &gcp.coord3};
    for (int i = 0; i < 3; ++i) {
        QTableWidgetItem* cell = table->item(row, ColX + i);
        if (!cell)
            continue;
        bool ok = false;
        double value = QLocale::system().toDouble(cell->text().trimmed(), &ok);
        if (!ok)
            value = QLocale::c().toDouble(cell->text().trimmed(), &ok);
        if (!ok)
            value = 0.0;
        if (std::abs(value - *stored[i]) > 1e-5) {
            *stored[i] = value;
            emit gcpCoordsChanged(value, i);
            mapPinChanged(m_current);
        }
    }

    if (QTableWidgetItem* check = table->item(row, ColCheckpoint)) {
        const bool checked = check->checkState() == Qt::Checked;
        if (gcp.checkpoint != checked) {
            gcp.checkpoint = checked;
            emit gcpCheckpointStateChanged(checked);
            mapPinChanged(m_current);
        }
    }

    if (!m_current.isEmpty())
        emit gcpSelected(m_current);
    refreshStatusIcons();
    changed();
}

void GcpInfoEditor::on_add_gcp_button_clicked()
{
    GcpInfo gcp;
    gcp.name = makeDefaultGcpName(tableNames());
    m_gcps.insert(gcp.name, gcp);
    appendRow(gcp);
    emit gcpInfoAdded(gcp.name);
    ui->gcp_names_tableWidget->selectRow(ui->gcp_names_tableWidget->rowCount() - 1);
    refreshStatusIcons();
    refreshPlaceholderAndButtons();
    changed();
}

void GcpInfoEditor::on_del_gcp_button_clicked()
{
    const QList<QTableWidgetItem*> selected = ui->gcp_names_tableWidget->selectedItems();
    if (!selected.isEmpty()) {
        const int row = selected.first()->row();
        const QString name = nameOfRow(row);
        emit gcpInfoDeleted(name);
        m_gcps.remove(name);
        m_markers.remove(name);
        m_status.remove(name);
        m_current.clear();
        emit gcpSelected(QString());
        {
            const QSignalBlocker block(ui->gcp_names_tableWidget);
            ui->gcp_names_tableWidget->removeRow(row);
        }
        ui->gcp_names_tableWidget->clearSelection();
        mapPinRemoved(name);
        changed();
    }
    refreshPlaceholderAndButtons();
}

void GcpInfoEditor::on_button_done_clicked()
{
    emit doneButtonClicked();
}

void GcpInfoEditor::on_save_button_clicked()
{
    const QString chosen = UiBase::FileDialog::getSaveFileName(this, tr("Save File As"), SurveyFileFlow::lastDirectory(),
                                                               SurveyFileFlow::fileFilter() + QStringLiteral(";;*.txt"));
    if (chosen.isEmpty())
        return;
    if (!chosen.endsWith(QLatin1String(".txt"), Qt::CaseInsensitive)) {
        SurveyFileFlow::reportSaveFailure(
            this, SurveyFileFlow::writeFile(normalizeSurveySavePath(chosen), m_markers, m_gcps, m_coordSys, false));
        return;
    }
    // The engines' lists: control points in the chosen file, checkpoints
    // beside it in checkpoint_list.txt.
    const GcpListFiles lists = GcpListFile::format(gcpsInTableOrder(), m_markers, m_coordSys);
    QString error = lists.error;
    const QString checkpoints = QFileInfo(chosen).dir().filePath(QStringLiteral("checkpoint_list.txt"));
    for (const auto& file : {qMakePair(chosen, lists.controlPoints), qMakePair(checkpoints, lists.checkpoints)}) {
        if (!error.isEmpty() || (file.first == checkpoints && file.second.count('\n') <= 1))
            continue;
        QSaveFile out(file.first);
        if (!out.open(QIODevice::WriteOnly) || out.write(file.second) != file.second.size() || !out.commit())
            error = tr("could not write %1: %2").arg(QDir::toNativeSeparators(file.first), out.errorString());
    }
    if (!error.isEmpty())
        UiBase::TaskDialog::showErrorMessage(this, tr("The survey file could not be saved."), error);
}

void GcpInfoEditor::on_load_button_clicked()
{
    const SurveyLoadResult result = SurveyFileFlow::load(this);
    if (result.ok() && result.path.endsWith(QLatin1String(".txt"), Qt::CaseInsensitive)) {
        QFile file(result.path);
        const GcpListParse list = file.open(QIODevice::ReadOnly) ? GcpListFile::parse(QString::fromUtf8(file.readAll()))
                                                                 : GcpListParse();
        if (!list.recognized) {
            UiBase::TaskDialog::showErrorMessage(this, tr("The file is not a list of ground control points."),
                                                 tr("Expected rows of \"x y z pixel_x pixel_y image_name point_name\" in %1.")
                                                     .arg(QDir::toNativeSeparators(result.path)));
            return;
        }
        setSurvey({}, {}, AppCreate::GcpCoordSysInfo());
        importPoints(list.gcps, list.markersByName, list.systemCode, list.systemText);
        return;
    }
    if (result.status == SurveyFileResult::Failed) {
        SurveyFileFlow::reportLoadFailure(this, result);
        return;
    }
    if (!result.ok())
        return;
    GcpList gcps = result.gcps;
    // Points sharing a name keep their own markers: the later ones are renamed.
    const QStringList renamed = makeNamesUnique(gcps);
    MarkerMap markers = markersByName(gcps, result.markers);
    const QStringList unmatched = attachMarkersToPhotos(markers, ui->marker_editor->thumbnails()->files());
    setSurvey(gcps, markers, result.coordSys);
    if (!renamed.isEmpty())
        UiBase::TaskDialog::showWarningMessage(
            this, QString(Resource::String::GCP_DUPLICATE_NAMES_MSG_FORMAT).arg(renamed.join(QStringLiteral(", "))));
    if (!unmatched.isEmpty())
        UiBase::TaskDialog::showWarningMessage(
            this, tr("Some markers are on photos that are not in this project"),
            tr("They are kept and marked as errors until you place them again: %1").arg(unmatched.join(QStringLiteral(", "))));
}

void GcpInfoEditor::on_photoView_button_clicked()
{
    ui->photoView_button->setChecked(true);
    ui->mapView_button->setChecked(false);
    ui->photoMapView->setCurrentIndex(0);
    ui->filter_swidget->setCurrentIndex(0);
}

void GcpInfoEditor::on_mapView_button_clicked()
{
    ui->mapView_button->setChecked(true);
    ui->photoView_button->setChecked(false);
    ui->photoMapView->setCurrentIndex(1);
    ui->filter_swidget->setCurrentIndex(1);
    mapRefresh();
}

void GcpInfoEditor::onThumbnailToShow(bool bShow)
{
    Q_UNUSED(bShow)
    refreshMagnifier();
}

void GcpInfoEditor::onAfterGPSFiltered(int count)
{
    Q_UNUSED(count)
    ui->cb_gps_filter->setEnabled(true);
}

void GcpInfoEditor::on_cb_cameras_stateChanged(int state)
{
    if (m_map)
        m_map->setCamerasVisible(state == Qt::Checked);
}

void GcpInfoEditor::onMarkerAdded(const QString& filePath)
{
    Q_UNUSED(filePath)
    changed();
}

void GcpInfoEditor::onMarkerDeleted(const QString& filePath)
{
    Q_UNUSED(filePath)
    changed();
}

void GcpInfoEditor::onRowsInserted(const QModelIndex& parent, int first, int last)
{
    Q_UNUSED(parent)
    Q_UNUSED(first)
    Q_UNUSED(last)
    refreshPlaceholderAndButtons();
}

void GcpInfoEditor::onRowsRemoved(const QModelIndex& parent, int first, int last)
{
    Q_UNUSED(parent)
    Q_UNUSED(first)
    Q_UNUSED(last)
    refreshPlaceholderAndButtons();
}

void GcpInfoEditor::onContextMenuPasteTriggered()
{
    const QString text = QApplication::clipboard()->text();
    const PasteOutcome outcome = GcpPasteFlow::paste(text, {}, tableNames(), this);
    if (outcome.gcps.isEmpty())
        return;
    importPoints(outcome.gcps, outcome.markersByName, outcome.systemCode, outcome.systemText);
}

void GcpInfoEditor::importPoints(const GcpList& gcps, MarkerMap markers, const QString& systemCode,
                                 const QString& systemText)
{
    // A list that names its system brings the table to it when the table is empty.
    if (!systemCode.isEmpty() && systemCode != m_coordSys.code) {
        const AppCreate::GcpCoordSysInfo named = GcpListFile::coordSysOf(systemCode);
        if (named.isValid() && m_gcps.isEmpty())
            setCoordSys(named);
        else if (named.isValid())
            UiBase::TaskDialog::showWarningMessage(
                this, tr("The points are in %1; the table is in %2.").arg(named.description, m_coordSys.description),
                tr("Choose the coordinate system of the points above the table if they are not in the table's."));
    } else if (systemCode.isEmpty() && !systemText.isEmpty()) {
        UiBase::TaskDialog::showWarningMessage(
            this, tr("The coordinate system \"%1\" of the points is not known.").arg(systemText),
            tr("The points are read in the table's coordinate system, %1.").arg(m_coordSys.description));
    }
    const QStringList unmatched = attachMarkersToPhotos(markers, ui->marker_editor->thumbnails()->files());
    addGcps(gcps, markers);
    if (!unmatched.isEmpty())
        UiBase::TaskDialog::showWarningMessage(
            this, tr("Some markers are on photos that are not in this project"),
            tr("They are kept and marked as errors until you place them again: %1").arg(unmatched.join(QStringLiteral(", "))));
}

void GcpInfoEditor::onCustomContextMenuRequested(const QPoint& pos)
{
    QTableWidget* table = ui->gcp_names_tableWidget;
    QMenu menu(this);
    menu.setStyleSheet(UiBase::QtUiToolkit::mainMenuStyleSheet());
    const QTableWidgetItem* item = table->itemAt(pos);
    if (item) {
        const GcpInfo gcp = m_gcps.value(nameOfRow(item->row()));
        QAction* navigate = menu.addAction(tr("Navigate to"));
        navigate->setProperty(kNavigateProperty, QVariant::fromValue(gcp));
        navigate->setEnabled(Tarn::GIS::isCoordValid(m_coordSys.code, gcp.coord1, gcp.coord2));
        connect(navigate, &QAction::triggered, this, &GcpInfoEditor::onContextMenuNavigateToTriggered);
    } else {
        QAction* paste = menu.addAction(tr("Paste"));
        paste->setShortcut(QKeySequence::Paste);
        connect(paste, &QAction::triggered, this, &GcpInfoEditor::onContextMenuPasteTriggered);
    }
    menu.exec(table->viewport()->mapToGlobal(pos));
}

void GcpInfoEditor::onContextMenuNavigateToTriggered()
{
    auto* action = qobject_cast<QAction*>(sender());
    if (!action)
        return;
    const GcpInfo gcp = action->property(kNavigateProperty).value<GcpInfo>();
    if (!ui->mapView_button->isChecked())
        on_mapView_button_clicked();
    if (m_map)
        m_map->navigateTo(gcp.name);
}

void GcpInfoEditor::onTagPhotos(const QString& gcpName)
{
    onPinClicked(gcpName);
}

void GcpInfoEditor::onPinClicked(const QString& gcpName)
{
    selectGcp(gcpName);
    on_photoView_button_clicked();
}

void GcpInfoEditor::resetForLeaving()
{
    m_swapSource = nullptr;
    m_swapTarget = nullptr;
    if (m_swapCursorShown) {
        ui->gcp_names_tableWidget->viewport()->unsetCursor();
        m_swapCursorShown = false;
    }
}

void GcpInfoEditor::swapCursor(int shape)
{
    QWidget* viewport = ui->gcp_names_tableWidget->viewport();
    if (shape == 0)
        viewport->setCursor(Qt::ArrowCursor);
    else
        viewport->setCursor(shape == 1 ? m_swapCursor : m_noSwapCursor);
}

bool GcpInfoEditor::eventFilter(QObject* watched, QEvent* event)
{
    QTableWidget* table = ui->gcp_names_tableWidget;
    if (watched != table->viewport())
        return QWidget::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        QTableWidgetItem* item = table->itemAt(mouse->pos());
        if (mouse->button() == Qt::LeftButton && item && (item->column() == ColX || item->column() == ColY)) {
            m_swapSource = item;
            m_swapTarget = nullptr;
            swapCursor(0);
        }
        break;
    }
    case QEvent::MouseMove: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (!(mouse->buttons() & Qt::LeftButton)) {
            if (m_swapSource) {
                m_swapSource = nullptr;
                m_swapTarget = nullptr;
                m_swapCursorShown = false;
                swapCursor(0);
            }
            break;
        }
        if (!m_swapSource)
            break;
        if (!m_swapCursorShown) {
            m_swapCursorShown = true;
            swapCursor(1);
        }
        QTableWidgetItem* over = table->itemAt(mouse->pos());
        if (over && over != m_swapSource && over->row() == m_swapSource->row()
            && over->column() + m_swapSource->column() == 3) {
            m_swapTarget = over;
            swapCursor(1);
        } else if (over != m_swapSource) {
            m_swapTarget = nullptr;
            swapCursor(2);
        }
        // The drag swaps values; it must not also drag a selection.
        return true;
    }
    case QEvent::MouseButtonRelease:
        if (m_swapSource && m_swapTarget) {
            const QString source = m_swapSource->text();
            const QString target = m_swapTarget->text();
            connectItemChanged(false);
            m_swapSource->setText(target);
            connectItemChanged(true);
            m_swapTarget->setText(source); // runs the edit rules for both cells
            refreshStatusIcons();
            mapRefresh();
        }
        m_swapSource = nullptr;
        m_swapTarget = nullptr;
        if (m_swapCursorShown) {
            m_swapCursorShown = false;
            swapCursor(0);
        }
        break;
    case QEvent::Resize:
        refreshPlaceholderAndButtons();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

void GcpInfoEditor::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    placeMagnifier();
}

void GcpInfoEditor::mapPinChanged(const QString& name)
{
    if (m_map)
        m_map->updateGcpPin(name);
}

void GcpInfoEditor::mapPinRemoved(const QString& name)
{
    if (m_map)
        m_map->removeGcpPin(name);
}

void GcpInfoEditor::mapRefresh()
{
    if (m_map)
        m_map->refreshGcpPins();
}

} // namespace AppGcp
} // namespace Zyn
