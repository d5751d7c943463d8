#pragma once

#include <QDialog>
#include <QMap>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <coordsys/GcpCoordSysInfo.h>
#include <keelcore/SharedObject.h>
#include <spatialreference/SpatialReference.h>

#include <memory>

class QProgressBar;

class QLabel;

namespace Ui {
class CoordSysDialog;
}

namespace Zyn {
namespace AppCreate {

struct CoordSysLoadChunk;

// The catalogue of coordinate systems. The catalogue is read on a worker;
// rows reach the table through GUI-thread jobs that hold only a weak
// reference to the dialog, so the dialog may be closed or destroyed at
// any time during a load.
class CoordSysDialog : public QDialog, public KeelCore::SharedObject<CoordSysDialog> {
    Q_OBJECT

public:
    explicit CoordSysDialog(QWidget* parent = nullptr);
    ~CoordSysDialog() override;

    void setInput(bool input);
    bool isInput() const { return m_input; }

    void loadCoordSystems();
    bool isLoading() const { return m_loading; }

    GcpCoordSysInfo getSelectedData() const { return m_selectedData; }
    QString getSelectedCode() const { return m_selectedData.code; }
    void setSelectedData(const GcpCoordSysInfo& info);

    bool isIdValid(const QString& code) const;
    bool getCoordSysFromId(QString code, GcpCoordSysInfo& info) const;
    bool getIsUserSelected() const { return m_isUserSelected; }

    // Hides the system in target dialogs (it stays listed for input).
    void addExcludedCode(const QString& code) { addExcludedID(code); }
    QStringList excludedCodes() const { return m_excludedIds; }

    static const GcpCoordSysInfo loadGcpCoordSysInfo(bool input);
    static void saveGcpCoordSysInfo(const GcpCoordSysInfo& info, bool input);

    static const QString ECEF_COORD_SYS_TEXT;

    // Rows handed to the GUI thread per job while loading: one per
    // definition, so progress and cancel act between any two rows. Larger
    // batches post fewer events; the benchmark compares both. Taken when a
    // load starts.
    static constexpr int DEFAULT_ROWS_PER_JOB = 1;
    static constexpr int BATCHED_ROWS_PER_JOB = 256;
    static void setRowsPerLoadJob(int rows);
    static int rowsPerLoadJob();

signals:
    void dialogShown();
    void progress(int percent);
    // The catalogue has been read (or failed to be read) and the table is
    // usable again.
    void loadFinished();

public slots:
    void dialogDidShow();
    void onButtonOKClicked();
    void onButtonCancelClicked();
    void onSortColumn(int column);
    void onSearchBoxTextChanged(const QString& text);
    void onSelectionChanged();
    void onCmbboxDatumCurrentIndexChanged(int index);
    void onCmbboxUnitCurrentIndexChanged(int index);
    void onPopulatingListCancelled();
    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    friend class CoordSysDialogTest;

    void addCustomCoordSys(int order, const QString& code, const QString& description, qint32 unit,
                           const QString& epsg, const QString& datum, qint32 type);
    void addExcludedID(const QString& code);
    void connectSearchTextBoxSlot(bool connectSlot);
    bool findUnitCode(SpatialReference::UnitCode& unit, const QString& name) const;
    GcpCoordSysInfo getCoordSysInfoData(int row) const;
    QString getSelectedText(int column) const;
    void hideExcludedItems(bool hide);
    void initializeProgressBar();
    void loadProgressCallback(int percent);
    void moveRecentToTop();
    void saveRecentlyUsedCoordSys(const QString& code, bool input);
    void searchText(const QString& text);
    // "No coordinate system matches ..." in the table area when the search
    // hides every row.
    void updateNoMatchText();
    void setCoordSysInfoData(int row, const QString& code, const QString& description, const QString& epsg,
                             qint32 unit, const QString& datum, qint32 type);
    void enableOKButton();

    // GUI-thread halves of the worker's load.
    static void runLoad(KeelCore::WeakRef<CoordSysDialog> dialog, bool input, int generation, int rowsPerJob);
    void applyRowCount(int generation, int rows);
    void applyChunk(int generation, CoordSysLoadChunk& chunk);
    void finishLoad(int generation, int rows, int status, const QString& reason);
    bool isCurrentLoad(int generation) const { return m_loading && generation == m_loadGeneration; }
    void showPendingError();

    std::unique_ptr<Ui::CoordSysDialog> ui;
    bool m_input = true;
    bool m_loading = false;
    bool m_cancelRequested = false;
    int m_loadGeneration = 0;
    QPointer<QProgressBar> m_progressBar;
    GcpCoordSysInfo m_selectedData;
    GcpCoordSysInfo m_selectedAtShow;
    int m_placedRows = 0;
    QMap<int, QString> m_unitNames;
    QStringList m_excludedIds;
    bool m_isUserSelected = false;
    QString m_lastSearch;
    QPointer<QLabel> m_noMatch;
    int m_sortColumn = 0;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
    QString m_pendingErrorMain;
    QString m_pendingErrorDetail;
};

} // namespace AppCreate
} // namespace Zyn
