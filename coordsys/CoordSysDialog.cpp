#include "CoordSysDialog.h"

#include "TableWidgetItem.h"
#include "ui_CoordSysDialog.h"

#include <QHash>
#include <QHeaderView>
#include <QRegularExpression>
#include <QTimer>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QScrollBar>
#include <QSettings>

#include <keelcore/Dispatch.h>
#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <uibase/TaskDialog.h>
#include <utilities/Constants.h>
#include <utilities/ResourceStrings.h>

#include <vector>

namespace Zyn {
namespace AppCreate {

const QString CoordSysDialog::ECEF_COORD_SYS_TEXT = QStringLiteral("ECEF");

namespace {

const int CodeColumn = 0;
const int DescriptionColumn = 1;
const int EpsgColumn = 2;
const QString LL84_CODE = QStringLiteral("LL84");
int g_rowsPerJob = CoordSysDialog::DEFAULT_ROWS_PER_JOB; // GUI thread only

QString lastChosenKey(bool input)
{
    return input ? Resource::String::SETTINGS_GCP_COORD_SYSTEM_IN.toString()
                 : Resource::String::SETTINGS_GCP_COORD_SYSTEM_OUT.toString();
}

QString recentListKey(bool input)
{
    return QString::fromLatin1(input ? Utilities::CFG_ELEM_COORDSYS_IN_MRU : Utilities::CFG_ELEM_COORDSYS_OUT_MRU);
}

QStringList readRecentList(bool input)
{
    QSettings settings;
    settings.beginGroup(QString::fromLatin1(Utilities::CFG_ELEM_GENERAL));
    const QStringList list = settings.value(recentListKey(input)).toStringList();
    settings.endGroup();
    return list;
}

int recentListLimit()
{
    Services::ApplicationService* service = Services::ApplicationService::GetInstance();
    Services::ConfigManager* config = service ? service->GetConfigManager() : nullptr;
    if (!config)
        return Utilities::CFG_ELEM_WS_COORDSYS_MRU_LIMIT_DEFAULT_VALUE;
    return config->getInt(QString::fromLatin1(Utilities::CFG_ELEM_WS_COORDSYS_MRU_LIMIT),
                          Utilities::CFG_ELEM_WS_COORDSYS_MRU_LIMIT_DEFAULT_VALUE);
}

// Holds a widget's painting off for a bulk change. Hiding a row of a
// painting table recomputes every row position (quadratic over a search).
class UpdatesOff {
public:
    explicit UpdatesOff(QWidget* widget) : m_widget(widget), m_wasEnabled(widget->updatesEnabled())
    {
        if (m_wasEnabled)
            m_widget->setUpdatesEnabled(false);
    }
    ~UpdatesOff()
    {
        if (m_wasEnabled)
            m_widget->setUpdatesEnabled(true);
    }
    UpdatesOff(const UpdatesOff&) = delete;
    UpdatesOff& operator=(const UpdatesOff&) = delete;

private:
    QWidget* m_widget;
    bool m_wasEnabled;
};

} // namespace

// Rows made on the worker for one GUI job. Items that never reach the
// table (dialog gone, load cancelled) are deleted with the chunk.
struct CoordSysLoadRow {
    TableWidgetItem* code = nullptr;
    TableWidgetItem* description = nullptr;
    TableWidgetItem* epsg = nullptr;
    GcpCoordSysInfo info;
};

struct CoordSysLoadChunk {
    int definitionsDone = 0; // definitions read so far, for the progress
    int definitionCount = 0;
    std::vector<CoordSysLoadRow> rows;
    std::vector<std::pair<int, QString>> unitNames;

    CoordSysLoadChunk() = default;
    CoordSysLoadChunk(const CoordSysLoadChunk&) = delete;
    CoordSysLoadChunk& operator=(const CoordSysLoadChunk&) = delete;
    ~CoordSysLoadChunk()
    {
        for (CoordSysLoadRow& row : rows) {
            delete row.code;
            delete row.description;
            delete row.epsg;
        }
    }
};

CoordSysDialog::CoordSysDialog(QWidget* parent) : QDialog(parent), ui(new Ui::CoordSysDialog)
{
    ui->setupUi(this);
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);

    QTableWidget* table = ui->table_coordsys;
    table->setSortingEnabled(false); // sorted explicitly: implicit sorting would reorder rows mid-load
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 8);
    table->horizontalHeader()->setSectionsClickable(true);
    table->horizontalHeader()->setHighlightSections(false);
    table->setColumnWidth(CodeColumn, 130);
    table->setColumnWidth(DescriptionColumn, 290);

    connect(this, &CoordSysDialog::dialogShown, this, &CoordSysDialog::dialogDidShow);
    connect(ui->button_ok, &QPushButton::clicked, this, &CoordSysDialog::onButtonOKClicked);
    connect(ui->button_cancel, &QPushButton::clicked, this, &CoordSysDialog::onButtonCancelClicked);
    connect(table->horizontalHeader(), &QHeaderView::sectionPressed, this, &CoordSysDialog::onSortColumn);
    connectSearchTextBoxSlot(true);
    connect(table, &QTableWidget::itemSelectionChanged, this, &CoordSysDialog::onSelectionChanged);
    // A double click on a row chooses it, as OK does.
    connect(table, &QTableWidget::itemDoubleClicked, this, [this] {
        if (ui->button_ok->isEnabled())
            onButtonOKClicked();
    });
    // The description takes the width the dialog gains.
    table->horizontalHeader()->setSectionResizeMode(DescriptionColumn, QHeaderView::Stretch);
    ui->txtbox_search->installEventFilter(this);
    table->installEventFilter(this);
    const QSize remembered = QSettings().value(QStringLiteral("CoordSysDialog/size")).toSize();
    if (remembered.isValid())
        resize(remembered.expandedTo(minimumSizeHint()));

    enableOKButton();
}

bool CoordSysDialog::eventFilter(QObject* watched, QEvent* event)
{
    QTableWidget* table = ui->table_coordsys;
    auto firstVisibleRow = [table] {
        for (int row = 0; row < table->rowCount(); ++row)
            if (!table->isRowHidden(row))
                return row;
        return -1;
    };
    if (watched == ui->txtbox_search && event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Down) {
        // Down from the search goes to the first row it shows.
        const int row = firstVisibleRow();
        if (row >= 0) {
            table->setFocus(Qt::TabFocusReason);
            table->selectRow(row);
            return true;
        }
    } else if (watched == table && event->type() == QEvent::FocusIn && table->selectedItems().isEmpty()
               && static_cast<QFocusEvent*>(event)->reason() != Qt::MouseFocusReason) {
        // From the keyboard (a click selects what it clicks).
        const int row = firstVisibleRow();
        if (row >= 0) {
            table->setCurrentCell(row, CodeColumn, QItemSelectionModel::NoUpdate);
            table->selectRow(row);
        }
    }
    return QDialog::eventFilter(watched, event);
}

void CoordSysDialog::hideEvent(QHideEvent* event)
{
    // The size the user gave the dialog is kept for its next opening.
    QSettings().setValue(QStringLiteral("CoordSysDialog/size"), size());
    QDialog::hideEvent(event);
}

CoordSysDialog::~CoordSysDialog() = default;

void CoordSysDialog::setInput(bool input)
{
    m_input = input;
}

void CoordSysDialog::connectSearchTextBoxSlot(bool connectSlot)
{
    if (connectSlot)
        connect(ui->txtbox_search, &QLineEdit::textChanged, this, &CoordSysDialog::onSearchBoxTextChanged,
                Qt::UniqueConnection);
    else
        disconnect(ui->txtbox_search, &QLineEdit::textChanged, this, &CoordSysDialog::onSearchBoxTextChanged);
}

// ---------------------------------------------------------------------------
// Persistence

const GcpCoordSysInfo CoordSysDialog::loadGcpCoordSysInfo(bool input)
{
    QSettings settings;
    settings.beginGroup(QString::fromLatin1(Utilities::CFG_ELEM_GENERAL));
    const QVariant value = settings.value(lastChosenKey(input), QString::fromLatin1(LL84_COORD_SYS_TEXT));
    settings.endGroup();
    // A value of another type (a list written by something else) is corrupt too.
    const QString text = value.type() == QVariant::String ? value.toString() : QString();
    return GcpCoordSysInfo::fromText(text);
}

void CoordSysDialog::saveGcpCoordSysInfo(const GcpCoordSysInfo& info, bool input)
{
    QSettings settings;
    settings.beginGroup(QString::fromLatin1(Utilities::CFG_ELEM_GENERAL));
    settings.setValue(lastChosenKey(input), info.toText());
    settings.endGroup();
}

void CoordSysDialog::saveRecentlyUsedCoordSys(const QString& code, bool input)
{
    QSettings settings;
    settings.beginGroup(QString::fromLatin1(Utilities::CFG_ELEM_GENERAL));
    QStringList list = settings.value(recentListKey(input)).toStringList();
    const int limit = recentListLimit();

    list.removeOne(code);
    QTableWidget* table = ui->table_coordsys;
    // The emptiness check keeps a zero or negative limit from looping.
    while (!list.isEmpty() && list.size() >= limit) {
        const QString dropped = list.takeFirst();
        for (int row = 0; row < table->rowCount(); ++row) {
            auto* item = dynamic_cast<TableWidgetItem*>(table->item(row, CodeColumn));
            if (item && item->text() == dropped) {
                item->setRecentRank(0);
                break;
            }
        }
    }
    list.append(code);
    settings.setValue(recentListKey(input), list);
    settings.endGroup();
}

void CoordSysDialog::moveRecentToTop()
{
    if (m_loading)
        return;
    const QStringList list = readRecentList(m_input);
    QHash<QString, int> ranks;
    for (int i = 0; i < list.size(); ++i)
        ranks.insert(list.at(i), i + 1); // a later duplicate overwrites: it keeps the newer rank

    QTableWidget* table = ui->table_coordsys;
    for (int row = 0; row < table->rowCount(); ++row) {
        auto* item = dynamic_cast<TableWidgetItem*>(table->item(row, CodeColumn));
        if (!item)
            continue;
        // Ranks left from an earlier list (another dialog may have changed it) are stale.
        const auto it = ranks.find(item->text());
        if (it != ranks.end()) {
            item->setRecentRank(it.value());
            ranks.erase(it);
        } else {
            item->setRecentRank(0);
        }
    }
    m_sortColumn = CodeColumn;
    m_sortOrder = Qt::AscendingOrder;
    table->sortItems(CodeColumn, Qt::AscendingOrder);
    // Hidden rows follow their index, not their item, through a sort.
    searchText(ui->txtbox_search->text());
    hideExcludedItems(!m_input);
}

// ---------------------------------------------------------------------------
// Loading

void CoordSysDialog::initializeProgressBar()
{
    if (!m_progressBar) {
        m_progressBar = new QProgressBar(this);
        m_progressBar->setRange(0, 100);
        m_progressBar->setValue(0);
        m_progressBar->setTextVisible(true);
        m_progressBar->setAlignment(Qt::AlignCenter);
        m_progressBar->setFixedSize(300, 20);
        m_progressBar->setStyleSheet(QStringLiteral(
            "QProgressBar { border: 1px solid #606060; border-radius: 5px; text-align: center;"
            " font-family: Arial; font-size: 12px; }"
            "QProgressBar::chunk { background-color: #5383B5; width: 20px; }"));
        m_progressBar->hide();
        connect(this, &CoordSysDialog::progress, m_progressBar.data(), &QProgressBar::setValue);
    }
    m_progressBar->move((width() - m_progressBar->width()) / 2, (height() - m_progressBar->height()) / 2);
}

void CoordSysDialog::loadProgressCallback(int percent)
{
    emit progress(percent);
}

void CoordSysDialog::setRowsPerLoadJob(int rows)
{
    g_rowsPerJob = qMax(1, rows);
}

int CoordSysDialog::rowsPerLoadJob()
{
    return g_rowsPerJob;
}

void CoordSysDialog::loadCoordSystems()
{
    m_loading = true;
    // A close before this load must not cancel it.
    m_cancelRequested = false;
    const int generation = ++m_loadGeneration;
    m_pendingErrorMain.clear();
    m_pendingErrorDetail.clear();
    m_unitNames.clear();

    QTableWidget* table = ui->table_coordsys;
    // Emptying the table empties the selection; the chosen record stays.
    const GcpCoordSysInfo chosen = m_selectedData;
    table->clearSelection();
    table->setRowCount(0);
    m_selectedData = chosen;
    enableOKButton();
    m_placedRows = 0;
    table->setEnabled(false);
    ui->txtbox_search->setEnabled(false);
    // Repainting per row would dominate the fill.
    table->setUpdatesEnabled(false);

    initializeProgressBar();
    m_progressBar->setValue(0);
    m_progressBar->setVisible(isVisible());
    if (isVisible())
        m_progressBar->raise();

    KeelCore::WeakRef<CoordSysDialog> self = weakRef();
    const bool input = m_input;
    const int rowsPerJob = g_rowsPerJob;
    KeelCore::dispatchAsync(KeelCore::QosUserInitiated, [self, input, generation, rowsPerJob]() {
        runLoad(self, input, generation, rowsPerJob);
    });
}

void CoordSysDialog::runLoad(KeelCore::WeakRef<CoordSysDialog> self, bool input, int generation, int rowsPerJob)
{
    namespace SR = SpatialReference;
    if (self.expired())
        return;

    SR::DefinitionArray* array = nullptr;
    const SR::Status status = SR::CoordinateReferenceSystemDefinition::LoadAll(
        &array, [](SR::CoordinateReferenceSystemDefinition*, bool&) { return SR::Success; });
    if (!array || status != SR::Success) {
        if (array)
            array->Destroy();
        QString reason;
        const QString dbPath = SR::databasePath();
        if (status == SR::DatabaseError || dbPath.isEmpty())
            reason = dbPath.isEmpty() ? tr("No coordinate-system database was found.")
                                      : tr("The database %1 could not be opened.").arg(dbPath);
        else
            reason = tr("Reading %1 failed (status %2).").arg(dbPath).arg(int(status));
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, generation, status, reason]() {
            if (CoordSysDialog* dialog = self.lock())
                dialog->finishLoad(generation, 0, int(status), reason);
        });
        return;
    }

    const int count = array->GetCount();
    KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, generation, count]() {
        if (CoordSysDialog* dialog = self.lock())
            dialog->applyRowCount(generation, count);
    });

    // An empty list is seeded with the two built-in text forms; being
    // whole records they match no code, so a fresh catalogue has no ranks.
    QStringList recent = readRecentList(input);
    if (recent.isEmpty())
        recent << QString::fromLatin1(LL84_COORD_SYS_TEXT) << QString::fromLatin1(ECEF_COORD_SYS_RECORD_TEXT);
    QHash<QString, int> recentPositions;
    for (int i = 0; i < recent.size(); ++i)
        recentPositions.insert(recent.at(i), i + 1);

    QHash<int, QString> knownUnits;
    auto chunk = std::make_shared<CoordSysLoadChunk>();
    int rowsAdded = 0;
    std::vector<wchar_t> epsgBuffer(1024);

    int reportedDefinitions = 0;
    auto postChunk = [&]() {
        chunk->definitionCount = count;
        reportedDefinitions = chunk->definitionsDone;
        KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, generation, chunk]() {
            if (CoordSysDialog* dialog = self.lock())
                dialog->applyChunk(generation, *chunk);
        });
        chunk = std::make_shared<CoordSysLoadChunk>();
    };

    for (int i = 0; i < count; ++i) {
        // Nothing would use the rows: skip the work, but still release the array below.
        if (self.expired())
            break;
        chunk->definitionsDone = i + 1;
        SR::CoordinateReferenceSystemDefinition* definition = array->Get(i);
        if (definition) {
            int type = 0;
            if (definition->GetType(type) != SR::Success)
                type = 0;
            const bool listed = type != SR::TypeOther && !(type == SR::TypeGeographic && !input);
            if (listed) {
                std::wstring codeW;
                if (definition->GetCode(codeW) != SR::Success)
                    codeW.clear();
                const QString code = QString::fromStdWString(codeW);
                const bool isLL84 = code == LL84_CODE;

                SR::UnitCode unit = SR::UnitCode::Unknown;
                if (definition->GetUnitCode(unit) != SR::Success)
                    unit = SR::UnitCode::Unknown;
                const int unitValue = static_cast<int>(unit);
                if (!knownUnits.contains(unitValue)) {
                    SR::TagString unitName;
                    if (SR::GetUnitCodeIdentifier(unit, unitName) == SR::Success && !unitName.empty()) {
                        knownUnits.insert(unitValue, unitName.toQString());
                        chunk->unitNames.emplace_back(unitValue, unitName.toQString());
                    }
                }

                int rank = 0;
                if (!recentPositions.isEmpty()) {
                    const auto it = recentPositions.find(code);
                    if (it != recentPositions.end()) {
                        rank = it.value() + 1;
                        recentPositions.erase(it);
                    }
                }

                std::fill(epsgBuffer.begin(), epsgBuffer.end(), L'\0');
                QString epsg;
                if (SR::FormatConverter::IdToId_s(SR::FormatCatalogueCode, codeW.c_str(), SR::FormatEpsgNumber,
                                                  epsgBuffer.data(), epsgBuffer.size())
                    == SR::Success)
                    epsg = QString::fromWCharArray(epsgBuffer.data());

                std::wstring descriptionW;
                if (definition->GetDescription(descriptionW) != SR::Success)
                    descriptionW.clear();
                const QString description = QString::fromStdWString(descriptionW);
                std::wstring datumW;
                if (definition->GetDatum(datumW) != SR::Success)
                    datumW.clear();

                CoordSysLoadRow row;
                row.code = new TableWidgetItem(code, isLL84, rank, 1);
                row.epsg = new TableWidgetItem(epsg, isLL84, 0, 0);
                row.description = new TableWidgetItem(description, isLL84, 0, 0);
                row.info = GcpCoordSysInfo(code, description, epsg, unitValue, QString::fromStdWString(datumW), type);
                chunk->rows.push_back(std::move(row));
                ++rowsAdded;
            }
            definition->Destroy();
        }
        if (int(chunk->rows.size()) >= rowsPerJob)
            postChunk();
    }
    // Also when only skipped definitions are left: progress must reach 100.
    if (!chunk->rows.empty() || !chunk->unitNames.empty() || chunk->definitionsDone > reportedDefinitions)
        postChunk();

    KeelCore::dispatchAsync(KeelCore::QosMainThread, [self, generation, rowsAdded]() {
        if (CoordSysDialog* dialog = self.lock())
            dialog->finishLoad(generation, rowsAdded, SR::Success, QString());
    });
    array->Destroy();
}

void CoordSysDialog::applyRowCount(int generation, int rows)
{
    if (!isCurrentLoad(generation))
        return;
    if (m_cancelRequested) {
        onPopulatingListCancelled();
        return;
    }
    ui->table_coordsys->setRowCount(rows);
}

void CoordSysDialog::applyChunk(int generation, CoordSysLoadChunk& chunk)
{
    if (!isCurrentLoad(generation))
        return;
    if (m_cancelRequested) {
        onPopulatingListCancelled();
        return;
    }
    if (chunk.definitionCount > 0)
        loadProgressCallback(chunk.definitionsDone * 100 / chunk.definitionCount);
    for (const auto& unit : chunk.unitNames)
        m_unitNames.insert(unit.first, unit.second);

    QTableWidget* table = ui->table_coordsys;
    int row = m_placedRows;
    for (CoordSysLoadRow& r : chunk.rows) {
        if (row >= table->rowCount())
            table->setRowCount(row + 1);
        table->setItem(row, CodeColumn, r.code);
        table->setItem(row, EpsgColumn, r.epsg);
        table->setItem(row, DescriptionColumn, r.description);
        r.code = r.description = r.epsg = nullptr; // the table owns them now
        setCoordSysInfoData(row, r.info.code, r.info.description, r.info.epsg, r.info.unit, r.info.datum,
                            r.info.systemType);
        ++row;
    }
    m_placedRows = row;
}

void CoordSysDialog::finishLoad(int generation, int rows, int status, const QString& reason)
{
    if (!isCurrentLoad(generation))
        return;
    if (m_cancelRequested) {
        onPopulatingListCancelled();
        return;
    }
    QTableWidget* table = ui->table_coordsys;
    table->setRowCount(rows);
    m_placedRows = 0;
    if (m_input)
        addCustomCoordSys(1, ECEF_COORD_SYS_TEXT, QStringLiteral("Earth-Centered Earth-Fixed"), 1, QString(),
                          QString(), 0);
    m_loading = false;
    if (m_progressBar) {
        m_progressBar->hide();
        m_progressBar->deleteLater();
        m_progressBar = nullptr;
    }
    ui->txtbox_search->setEnabled(true);
    table->setEnabled(true);
    moveRecentToTop(); // sorts on column 0 and re-applies the search and the exclusions
    table->scrollToTop();
    table->setUpdatesEnabled(true);
    table->repaint();
    ui->txtbox_search->setFocus();

    if (status != SpatialReference::Success) {
        m_pendingErrorMain = tr("The coordinate system catalogue could not be read.");
        m_pendingErrorDetail = reason;
        if (isVisible())
            showPendingError();
    }
    emit loadFinished();
}

void CoordSysDialog::showPendingError()
{
    if (m_pendingErrorMain.isEmpty())
        return;
    const QString mainText = m_pendingErrorMain;
    const QString detail = m_pendingErrorDetail;
    m_pendingErrorMain.clear();
    m_pendingErrorDetail.clear();
    UiBase::TaskDialog::showErrorMessage(this, mainText, detail);
}

void CoordSysDialog::onPopulatingListCancelled()
{
    if (m_progressBar) {
        m_progressBar->hide();
        m_progressBar->setValue(0);
    }
    QTableWidget* table = ui->table_coordsys;
    table->setRowCount(0);
    m_placedRows = 0;
    ui->txtbox_search->setEnabled(true);
    ui->txtbox_search->setFocus();
    table->setEnabled(true);
    table->setUpdatesEnabled(true);
    m_unitNames.clear();
    m_loading = false;
}

void CoordSysDialog::setCoordSysInfoData(int row, const QString& code, const QString& description,
                                         const QString& epsg, qint32 unit, const QString& datum, qint32 type)
{
    QTableWidget* table = ui->table_coordsys;
    if (row < 0 || row >= table->rowCount())
        return;
    QTableWidgetItem* item = table->item(row, CodeColumn);
    if (!item)
        return;
    item->setData(Qt::UserRole, QVariant::fromValue(GcpCoordSysInfo(code, description, epsg, unit, datum, type)));
}

void CoordSysDialog::addCustomCoordSys(int order, const QString& code, const QString& description, qint32 unit,
                                       const QString& epsg, const QString& datum, qint32 type)
{
    QTableWidget* table = ui->table_coordsys;
    const int row = table->rowCount();
    table->insertRow(row);
    table->setItem(row, CodeColumn, new TableWidgetItem(code, true, 0, order));
    table->setItem(row, DescriptionColumn, new TableWidgetItem(description, true, 0, order));
    table->setItem(row, EpsgColumn, new TableWidgetItem(epsg, true, 0, order));
    setCoordSysInfoData(row, code, description, epsg, unit, datum, type);
}

// ---------------------------------------------------------------------------
// Search and exclusions

void CoordSysDialog::searchText(const QString& text)
{
    // Every word of the search in one of the row's columns, in any order:
    // "utm 14" finds "NAD83 / UTM zone 14N". A row holding the whole text
    // still matches, as each of its words is in that column.
    const QStringList words = text.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    // A short number ("32", "14") is a zone or the like: it matches a whole
    // number only, so "utm 32" does not bring up EPSG:32201. Longer ones may
    // be the start of a code and match anywhere.
    static const QRegularExpression shortNumber(QStringLiteral("^\\d{1,3}$"));
    QVector<bool> wholeNumber;
    for (const QString& word : words)
        wholeNumber << shortNumber.match(word).hasMatch();
    QTableWidget* table = ui->table_coordsys;
    const UpdatesOff updatesOff(table);
    const int rows = table->rowCount();
    const int columns = table->columnCount();
    QVector<QString> cells(columns);
    for (int row = 0; row < rows; ++row) {
        bool any = false;
        for (int column = 0; column < columns; ++column) {
            const QTableWidgetItem* item = table->item(row, column);
            cells[column] = item ? item->text() : QString();
            any = any || !cells[column].isEmpty();
        }
        bool show = any;
        for (int w = 0; w < words.size(); ++w) {
            const QString& word = words.at(w);
            bool found = false;
            for (int column = 0; column < columns && !found; ++column) {
                const QString& cell = cells[column];
                if (!wholeNumber.at(w)) {
                    found = cell.contains(word, Qt::CaseInsensitive);
                    continue;
                }
                for (int at = cell.indexOf(word); at >= 0 && !found; at = cell.indexOf(word, at + 1)) {
                    const int end = at + word.size();
                    found = (at == 0 || !cell.at(at - 1).isDigit()) && (end == cell.size() || !cell.at(end).isDigit());
                }
            }
            if (!found) {
                show = false;
                break;
            }
        }
        // Unchanged rows are left alone: hiding a header section is not free.
        if (table->isRowHidden(row) == show)
            table->setRowHidden(row, !show);
    }
    m_lastSearch = text;
}

void CoordSysDialog::updateNoMatchText()
{
    QTableWidget* table = ui->table_coordsys;
    const QString text = ui->txtbox_search->text().trimmed();
    bool visible = false;
    for (int row = 0; row < table->rowCount() && !visible; ++row)
        visible = !table->isRowHidden(row);
    if (!m_noMatch) {
        m_noMatch = new QLabel(table->viewport());
        m_noMatch->setObjectName(QStringLiteral("label_no_match"));
        m_noMatch->setAlignment(Qt::AlignCenter);
        m_noMatch->setWordWrap(true);
        m_noMatch->setStyleSheet(QStringLiteral("color: #808080;"));
    }
    if (visible || text.isEmpty() || m_loading) {
        m_noMatch->hide();
        return;
    }
    QString message = tr("No coordinate system matches \u201C%1\u201D.").arg(text);
    // A target search for a geographic system: say why it is not there.
    const QRegularExpressionMatch number = QRegularExpression(QStringLiteral("(\\d{4,6})")).match(text);
    if (!m_input && number.hasMatch()) {
        namespace SR = SpatialReference;
        if (SR::CoordinateReferenceSystemDefinition* d =
                SR::CoordinateReferenceSystemDefinition::Create(QStringLiteral("EPSG:") + number.captured(1))) {
            if (d->type() == SR::TypeGeographic)
                message += QLatin1Char('\n')
                           + tr("%1 is a geographic system (longitude and latitude); geographic systems are not "
                                "offered as project targets.")
                                 .arg(d->description());
            d->Destroy();
        }
    }
    m_noMatch->setText(message);
    m_noMatch->setGeometry(table->viewport()->rect().adjusted(20, 20, -20, -20));
    m_noMatch->show();
}

void CoordSysDialog::onSearchBoxTextChanged(const QString& text)
{
    searchText(text);
    hideExcludedItems(!m_input);
    updateNoMatchText();
}

void CoordSysDialog::onCmbboxDatumCurrentIndexChanged(int)
{
    onSearchBoxTextChanged(ui->txtbox_search->text());
}

void CoordSysDialog::onCmbboxUnitCurrentIndexChanged(int)
{
    onSearchBoxTextChanged(ui->txtbox_search->text());
}

void CoordSysDialog::addExcludedID(const QString& code)
{
    if (!m_excludedIds.contains(code))
        m_excludedIds.append(code);
}

void CoordSysDialog::hideExcludedItems(bool hide)
{
    if (m_excludedIds.isEmpty())
        return;
    QTableWidget* table = ui->table_coordsys;
    const UpdatesOff updatesOff(table);
    for (const QString& code : qAsConst(m_excludedIds)) {
        const QList<QTableWidgetItem*> items = table->findItems(code, Qt::MatchExactly | Qt::MatchCaseSensitive);
        for (QTableWidgetItem* item : items)
            table->setRowHidden(item->row(), hide);
    }
}

bool CoordSysDialog::findUnitCode(SpatialReference::UnitCode& unit, const QString& name) const
{
    for (auto it = m_unitNames.cbegin(); it != m_unitNames.cend(); ++it) {
        if (it.value().compare(name, Qt::CaseInsensitive) == 0) {
            unit = static_cast<SpatialReference::UnitCode>(it.key());
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------------------
// Selection and lookup

GcpCoordSysInfo CoordSysDialog::getCoordSysInfoData(int row) const
{
    const QTableWidgetItem* item = ui->table_coordsys->item(row, CodeColumn);
    if (!item)
        return GcpCoordSysInfo();
    const QVariant data = item->data(Qt::UserRole);
    return data.canConvert<GcpCoordSysInfo>() ? data.value<GcpCoordSysInfo>() : GcpCoordSysInfo();
}

QString CoordSysDialog::getSelectedText(int column) const
{
    const QList<QTableWidgetItem*> selected = ui->table_coordsys->selectedItems();
    if (selected.isEmpty())
        return QString();
    const QTableWidgetItem* item = ui->table_coordsys->item(selected.first()->row(), column);
    return item ? item->text() : QString();
}

void CoordSysDialog::onSelectionChanged()
{
    const QList<QTableWidgetItem*> selected = ui->table_coordsys->selectedItems();
    if (selected.isEmpty()) {
        m_selectedData = GcpCoordSysInfo();
    } else {
        m_selectedData = getCoordSysInfoData(selected.first()->row());
        m_isUserSelected = true;
    }
    enableOKButton();
}

void CoordSysDialog::enableOKButton()
{
    const QItemSelectionModel* model = ui->table_coordsys->selectionModel();
    ui->button_ok->setEnabled(model && model->selectedRows().size() == 1);
}

void CoordSysDialog::setSelectedData(const GcpCoordSysInfo& info)
{
    if (info.code.isEmpty())
        return;
    m_selectedData = info;
}

bool CoordSysDialog::isIdValid(const QString& code) const
{
    const QTableWidget* table = ui->table_coordsys;
    for (int row = 0; row < table->rowCount(); ++row) {
        const QTableWidgetItem* item = table->item(row, CodeColumn);
        if (item && item->text() == code)
            return true;
    }
    // A catalogue closed while it loaded is empty; the code on display is
    // still as valid as the spatial-reference library says.
    if (m_loading || table->rowCount() <= 1) {
        namespace SR = SpatialReference;
        SR::CoordinateReferenceSystemDefinition* d = SR::CoordinateReferenceSystemDefinition::Create(code);
        if (!d)
            return false;
        const int type = d->type();
        d->Destroy();
        return type != SR::TypeOther && (m_input || type != SR::TypeGeographic);
    }
    return false;
}

bool CoordSysDialog::getCoordSysFromId(QString code, GcpCoordSysInfo& info) const
{
    const QList<QTableWidgetItem*> items =
        ui->table_coordsys->findItems(code, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (items.isEmpty())
        return false;
    const QVariant data = items.first()->data(Qt::UserRole);
    if (!data.canConvert<GcpCoordSysInfo>())
        return false;
    info = data.value<GcpCoordSysInfo>();
    return true;
}

// ---------------------------------------------------------------------------
// Buttons, keys, showing

void CoordSysDialog::onButtonOKClicked()
{
    m_cancelRequested = true;
    if (m_selectedData.isValid()) {
        saveGcpCoordSysInfo(m_selectedData, m_input);
        saveRecentlyUsedCoordSys(m_selectedData.code, m_input);
    }
    setSelectedData(GcpCoordSysInfo());
    accept();
}

void CoordSysDialog::onButtonCancelClicked()
{
    reject();
}

void CoordSysDialog::reject()
{
    // Escape and the window's close button end up here too, so every way
    // out of a loading dialog cancels the same way.
    m_cancelRequested = true;
    const GcpCoordSysInfo previous = m_selectedAtShow;
    ui->table_coordsys->clearSelection();
    setSelectedData(GcpCoordSysInfo());
    // A browse that was cancelled keeps the choice the dialog opened with.
    if (previous.isValid())
        m_selectedData = previous;
    QDialog::reject();
    if (m_loading)
        onPopulatingListCancelled();
}

void CoordSysDialog::onSortColumn(int column)
{
    if (m_loading)
        return;
    if (column == m_sortColumn)
        m_sortOrder = m_sortOrder == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
    else
        m_sortOrder = Qt::AscendingOrder;
    m_sortColumn = column;
    ui->table_coordsys->sortItems(column, m_sortOrder);
    searchText(ui->txtbox_search->text());
    hideExcludedItems(!m_input);
}

void CoordSysDialog::keyPressEvent(QKeyEvent* event)
{
    // A Return typed while searching must not close the dialog.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        event->accept();
        return;
    }
    QDialog::keyPressEvent(event);
}

void CoordSysDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    m_selectedAtShow = m_selectedData;
    ui->table_coordsys->clearSelection();
    if (m_selectedAtShow.isValid())
        m_selectedData = m_selectedAtShow;
    enableOKButton();
    hideExcludedItems(!m_input);
    moveRecentToTop();

    QTableWidget* table = ui->table_coordsys;
    if (table->rowCount() > 0 && !m_loading) {
        table->scrollToTop();
        ui->txtbox_search->clear();
        ui->txtbox_search->setFocus();
        // An error of a load made before the dialog was first shown.
        if (!m_pendingErrorMain.isEmpty())
            QTimer::singleShot(0, this, &CoordSysDialog::showPendingError);
    } else {
        m_cancelRequested = false;
        // A load cancelled by closing the dialog left an empty catalogue.
        if (!m_loading)
            loadCoordSystems();
        initializeProgressBar();
        emit dialogShown();
    }
}

void CoordSysDialog::dialogDidShow()
{
    if (m_loading && m_progressBar) {
        initializeProgressBar(); // re-centre: the owner may have resized the dialog
        m_progressBar->setVisible(isVisible());
        m_progressBar->raise();
    }
    if (isVisible())
        showPendingError();
}

} // namespace AppCreate
} // namespace Zyn
