#include <gcp/GcpInfoEditor.h>

#include <coordsys/GcpCoordSysInfo.h>
#include <support/TestSupport.h>

#include <QtTest>
#include <QtWidgets>

using namespace Zyn::AppGcp;
using Zyn::AppCreate::GcpCoordSysInfo;
using Zyn::TestSupport::sendMouse;

namespace {
GcpInfo point(const QString& name, double x, double y, double z = 0.0)
{
    GcpInfo gcp;
    gcp.name = name;
    gcp.coord1 = x;
    gcp.coord2 = y;
    gcp.coord3 = z;
    return gcp;
}

GcpCoordSysInfo utm32()
{
    return GcpCoordSysInfo(QStringLiteral("EPSG:32632"), QStringLiteral("WGS 84 / UTM zone 32N"),
                           QStringLiteral("32632"), 1, QStringLiteral("WGS 84"), 0);
}

// The context menu the table opens at pos, as its actions' texts; "(off)"
// marks a disabled one.
QStringList contextMenuAt(QTableWidget* table, const QPoint& pos)
{
    QStringList texts;
    QTimer::singleShot(0, [&] {
        if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            for (QAction* action : menu->actions())
                texts << action->text() + (action->isEnabled() ? "" : " (off)");
            menu->close();
        }
    });
    emit table->customContextMenuRequested(pos);
    return texts;
}
} // namespace

class GcpInfoEditorTest : public QObject {
    Q_OBJECT
private slots:
    void init()
    {
        m_editor.reset(new GcpInfoEditor);
        QVERIFY(Zyn::TestSupport::showExposed(m_editor.data(), QSize(1280, 760)));
        m_editor->setSurvey({point("GCP1", 500000, 5200000, 400), point("GCP2", 500100, 5200100, 401)}, {}, utm32());
        m_table = m_editor->findChild<QTableWidget*>(QStringLiteral("gcp_names_tableWidget"));
        QVERIFY(m_table);
    }

    void caseOnlyRenameIsRefused()
    {
        QSignalSpy renamed(m_editor.data(), &GcpInfoEditor::gcpNameChanged);
        m_table->item(0, 0)->setText(QStringLiteral("gcp1"));
        QCOMPARE(m_table->item(0, 0)->text(), QStringLiteral("GCP1"));
        m_table->item(0, 0)->setText(QStringLiteral("GCP2")); // another row's name
        QCOMPARE(m_table->item(0, 0)->text(), QStringLiteral("GCP1"));
        QCOMPARE(renamed.count(), 0);
        m_table->item(0, 0)->setText(QStringLiteral("Tower"));
        QCOMPARE(renamed.count(), 1);
        QCOMPARE(renamed.at(0).at(0).toString(), QStringLiteral("GCP1"));
        QVERIFY(m_editor->gcps().contains(QStringLiteral("Tower")));
        QVERIFY(!m_editor->gcps().contains(QStringLiteral("GCP1")));
    }

    void dragSwapsOnlyXAndYOfOneRow_data()
    {
        QTest::addColumn<int>("targetRow");
        QTest::addColumn<int>("targetColumn");
        QTest::addColumn<bool>("swapped");
        QTest::newRow("onto Y of the same row") << 0 << 2 << true;
        QTest::newRow("onto Z") << 0 << 3 << false;
        QTest::newRow("onto Y of another row") << 1 << 2 << false;
    }
    void dragSwapsOnlyXAndYOfOneRow()
    {
        QFETCH(int, targetRow);
        QFETCH(int, targetColumn);
        QFETCH(bool, swapped);
        QWidget* viewport = m_table->viewport();
        const QPoint from = m_table->visualItemRect(m_table->item(0, 1)).center();
        const QPoint to = m_table->visualItemRect(m_table->item(targetRow, targetColumn)).center();
        QSignalSpy coords(m_editor.data(), &GcpInfoEditor::gcpCoordsChanged);
        sendMouse(viewport, QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
        sendMouse(viewport, QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton);
        QCOMPARE(viewport->cursor().shape(), Qt::BitmapCursor);
        const QImage shown = viewport->cursor().pixmap().toImage();
        const QImage noSwap = QPixmap(QStringLiteral(":/resources/images/cursors/cursor_noswap.png")).toImage();
        QCOMPARE(shown == noSwap, !swapped);
        sendMouse(viewport, QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);
        const GcpInfo gcp = m_editor->gcps().value(QStringLiteral("GCP1"));
        QCOMPARE(gcp.coord1, swapped ? 5200000.0 : 500000.0);
        QCOMPARE(gcp.coord2, swapped ? 500000.0 : 5200000.0);
        QCOMPARE(coords.count(), swapped ? 2 : 0);
    }

    void worstStatusDecidesTheIcon()
    {
        m_editor->setStatus({{QStringLiteral("GCP1"), {1, 3}}, {QStringLiteral("GCP2"), {}}});
        const QStringList lines = m_table->item(0, 5)->toolTip().split('\n');
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines.at(0).startsWith(QString(QChar(0x2666)) + ' '));
        QVERIFY(lines.at(0).contains(QStringLiteral("outside the area")));
        QVERIFY(lines.at(1).contains(QStringLiteral("fewer than 3 photos")));
        const QImage error = QIcon(QStringLiteral(":/resources/images/gcp_status_error.png")).pixmap(16).toImage();
        QCOMPARE(m_table->item(0, 5)->icon().pixmap(16).toImage(), error);
        QVERIFY(m_table->item(1, 5)->toolTip().startsWith(QStringLiteral("Ready")));
    }

    void headersFollowTheUnit_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<int>("unit");
        QTest::addColumn<QString>("xHeader");
        QTest::addColumn<QString>("coordsTemplate");
        QTest::newRow("feet") << "EPSG:2222" << 4 << "X\n(Foot)" << "X: %1 (ft), Y: %2 (ft), Z: %3 (ft)";
        QTest::newRow("geographic") << "EPSG:4326" << 1001 << "Longitude\n(Degree)"
                                    << QStringLiteral("Long: %1 (\u00B0), Lat: %2 (\u00B0), Alt: %3 (m)");
    }
    void headersFollowTheUnit()
    {
        QFETCH(QString, code);
        QFETCH(int, unit);
        QFETCH(QString, xHeader);
        QFETCH(QString, coordsTemplate);
        QSignalSpy typeChanged(m_editor.data(), &GcpInfoEditor::gcpCoordsTypeChanged);
        m_editor->setCoordSys(GcpCoordSysInfo(code, code, code.mid(5), unit, QString(), unit == 1001 ? 2 : 0));
        QCOMPARE(m_table->horizontalHeaderItem(1)->text(), xHeader);
        QCOMPARE(m_editor->coordsTemplate(), coordsTemplate);
        QCOMPARE(typeChanged.count(), 1);
    }

    void hintCountsMarkersUpToFour_data()
    {
        QTest::addColumn<int>("markers");
        QTest::addColumn<QString>("hint");
        QTest::newRow("none") << 0 << "Select an image\nto place a GCP";
        QTest::newRow("two") << 2 << "Place GCPs on\nat least 2more images";
        QTest::newRow("four") << 4 << "Place GCPs on\nmore images";
    }
    void hintCountsMarkersUpToFour()
    {
        QFETCH(int, markers);
        QFETCH(QString, hint);
        for (int i = 0; i < markers; ++i)
            m_editor->markers()[QStringLiteral("GCP1")] << GcpMarker{QString(), QStringLiteral("/p/%1.jpg").arg(i), {10, 10}, 1};
        m_editor->selectGcp(QStringLiteral("GCP1"));
        bool noMarker = false;
        QCOMPARE(m_editor->placementHint(&noMarker), hint);
        QCOMPARE(noMarker, markers == 0);
    }

    void contextMenuOffersWhatFits()
    {
        m_editor->setSurvey({point("GCP1", 500000, 5200000), point("Far", 9e7, 9e7)}, {}, utm32());
        const auto cell = [this](int row) { return m_table->visualItemRect(m_table->item(row, 0)).center(); };
        QCOMPARE(contextMenuAt(m_table, QPoint(10, m_table->viewport()->height() - 5)), QStringList{"Paste"});
        QCOMPARE(contextMenuAt(m_table, cell(1)), QStringList{"Navigate to (off)"});
        QCOMPARE(contextMenuAt(m_table, cell(0)), QStringList{"Navigate to"});
    }

    void addAndDeleteKeepNamesUnique()
    {
        QSignalSpy added(m_editor.data(), &GcpInfoEditor::gcpInfoAdded);
        QSignalSpy deleted(m_editor.data(), &GcpInfoEditor::gcpInfoDeleted);
        QTest::mouseClick(m_editor->findChild<QWidget*>(QStringLiteral("add_gcp_button")), Qt::LeftButton);
        QCOMPARE(added.takeFirst().at(0).toString(), QStringLiteral("GCP3"));
        m_table->selectRow(0);
        QTest::mouseClick(m_editor->findChild<QWidget*>(QStringLiteral("del_gcp_button")), Qt::LeftButton);
        QCOMPARE(deleted.takeFirst().at(0).toString(), QStringLiteral("GCP1"));
        QTest::mouseClick(m_editor->findChild<QWidget*>(QStringLiteral("add_gcp_button")), Qt::LeftButton);
        QCOMPARE(added.takeFirst().at(0).toString(), QStringLiteral("GCP1"));
        QCOMPARE(m_table->rowCount(), 3);
    }

    void nonNumericCoordinateReadsAsZero()
    {
        m_table->item(0, 3)->setText(QStringLiteral("abc"));
        QCOMPARE(m_editor->gcps().value(QStringLiteral("GCP1")).coord3, 0.0);
        QCOMPARE(m_table->rowCount(), 2);
    }

private:
    QScopedPointer<GcpInfoEditor> m_editor;
    QTableWidget* m_table = nullptr;
};

QTEST_MAIN(GcpInfoEditorTest)
#include "tst_gcpinfoeditor.moc"
