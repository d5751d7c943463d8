// Catalogue load and search timings of the coordinate-system dialog, set
// against listing the same catalogue with PROJ's own command-line tool.
//
//   bench_coordsys [runs]
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLineEdit>
#include <QProcess>
#include <QStandardPaths>
#include <QTableWidget>
#include <QTextStream>
#include <QTimer>

#include <coordsys/CoordSysDialog.h>
#include <keelcore/Dispatch.h>

#include <algorithm>
#include <cstdio>
#include <vector>

using Zyn::AppCreate::CoordSysDialog;

namespace {

double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    const size_t mid = values.size() / 2;
    return values.size() % 2 ? values[mid] : (values[mid - 1] + values[mid]) / 2.0;
}

// Milliseconds from loadCoordSystems() until the table is filled, sorted
// and enabled.
double timeLoad(CoordSysDialog& dialog, int* rows)
{
    QEventLoop loop;
    QObject::connect(&dialog, &CoordSysDialog::loadFinished, &loop, &QEventLoop::quit);
    QTimer::singleShot(120000, &loop, &QEventLoop::quit);
    QElapsedTimer timer;
    timer.start();
    dialog.loadCoordSystems();
    if (dialog.isLoading())
        loop.exec();
    const double ms = timer.nsecsElapsed() / 1e6;
    auto* table = dialog.findChild<QTableWidget*>(QStringLiteral("table_coordsys"));
    *rows = table ? table->rowCount() : 0;
    if (dialog.isLoading() || !table || !table->isEnabled())
        return -1.0;
    return ms;
}

double timeSearch(CoordSysDialog& dialog, const QString& text)
{
    auto* search = dialog.findChild<QLineEdit*>(QStringLiteral("txtbox_search"));
    std::vector<double> samples;
    for (int i = 0; i < 7; ++i) {
        // From the full list each time, as after clearing the box.
        search->blockSignals(true);
        search->clear();
        search->blockSignals(false);
        dialog.onSearchBoxTextChanged(QString());
        search->blockSignals(true);
        search->setText(text);
        search->blockSignals(false);
        QElapsedTimer timer;
        timer.start();
        dialog.onSearchBoxTextChanged(text);
        samples.push_back(timer.nsecsElapsed() / 1e6);
    }
    return median(samples);
}

int visibleRows(CoordSysDialog& dialog)
{
    auto* table = dialog.findChild<QTableWidget*>(QStringLiteral("table_coordsys"));
    int n = 0;
    for (int row = 0; row < table->rowCount(); ++row)
        n += table->isRowHidden(row) ? 0 : 1;
    return n;
}

double timeProjinfo(int* lines)
{
    QProcess process;
    QElapsedTimer timer;
    timer.start();
    process.start(QStringLiteral("projinfo"), {QStringLiteral("--list-crs")});
    if (!process.waitForFinished(120000) || process.exitCode() != 0)
        return -1.0;
    const double ms = timer.nsecsElapsed() / 1e6;
    *lines = process.readAllStandardOutput().count('\n');
    return ms;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true); // keep the user's recent lists out of it
    QCoreApplication::setOrganizationName(QStringLiteral("ZynBench"));
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 5;
    QTextStream out(stdout);

    // (c) the floor: PROJ's own listing of the catalogue.
    std::vector<double> projinfo;
    int projLines = 0;
    for (int i = 0; i < runs; ++i) {
        const double ms = timeProjinfo(&projLines);
        if (ms >= 0)
            projinfo.push_back(ms);
    }
    const double floorMs = median(projinfo);
    out << "projinfo --list-crs:            median " << floorMs << " ms over " << projinfo.size() << " runs ("
        << projLines << " lines)\n";

    // (a) catalogue load. The first one in the process also reads PROJ's
    // database; the spatial-reference library keeps the list for later ones.
    {
        CoordSysDialog dialog;
        dialog.setInput(true);
        int rows = 0;
        const double cold = timeLoad(dialog, &rows);
        out << "first load (database read):    " << cold << " ms, " << rows << " rows, "
            << (floorMs > 0 ? cold / floorMs : 0) << "x projinfo\n";
        out.flush();
    }
    // Then one GUI job per row (the default) against batched jobs.
    double defaultMs = 0;
    for (const int rowsPerJob : {CoordSysDialog::DEFAULT_ROWS_PER_JOB, CoordSysDialog::BATCHED_ROWS_PER_JOB}) {
        CoordSysDialog::setRowsPerLoadJob(rowsPerJob);
        std::vector<double> loads;
        int rows = 0;
        for (int i = 0; i < runs; ++i) {
            CoordSysDialog dialog;
            dialog.setInput(true); // the input catalogue is the whole one
            dialog.show();
            // showing an empty catalogue starts a load of its own: let it finish first
            QEventLoop settle;
            QObject::connect(&dialog, &CoordSysDialog::loadFinished, &settle, &QEventLoop::quit);
            if (dialog.isLoading())
                settle.exec();
            const double ms = timeLoad(dialog, &rows);
            if (ms >= 0)
                loads.push_back(ms);
            dialog.reject();
        }
        const double med = median(loads);
        if (rowsPerJob == CoordSysDialog::DEFAULT_ROWS_PER_JOB)
            defaultMs = med;
        out << "load, " << rowsPerJob << " rows per GUI job:" << QString(rowsPerJob == 1 ? "   " : " ")
            << "median " << med << " ms over " << loads.size() << " runs, " << rows << " rows, "
            << (floorMs > 0 ? med / floorMs : 0) << "x projinfo\n";
        out.flush();
    }
    CoordSysDialog::setRowsPerLoadJob(CoordSysDialog::DEFAULT_ROWS_PER_JOB);

    // (b) one keystroke's search over the loaded target catalogue.
    CoordSysDialog dialog;
    dialog.setInput(true); // the input catalogue is the whole one
    dialog.resize(550, 600);
    dialog.show();
    int rows = 0;
    QEventLoop settle;
    QObject::connect(&dialog, &CoordSysDialog::loadFinished, &settle, &QEventLoop::quit);
    if (dialog.isLoading())
        settle.exec();
    timeLoad(dialog, &rows);
    const double perRowFloor = floorMs > 0 && projLines > 0 ? floorMs / projLines : 0;
    for (const QString& text : {QStringLiteral("utm"), QStringLiteral("wgs 84 / utm zone 33"),
                                QStringLiteral("nad83"), QStringLiteral("no such system zz")}) {
        const double ms = timeSearch(dialog, text);
        out << "search \"" << text << "\": median " << ms << " ms, " << visibleRows(dialog) << " of " << rows
            << " rows shown, " << (defaultMs > 0 ? ms / defaultMs : 0) << "x the load, "
            << (perRowFloor > 0 ? ms / (perRowFloor * rows) : 0) << "x projinfo's time for as many rows\n";
    }
    KeelCore::waitForIdle();
    return 0;
}
