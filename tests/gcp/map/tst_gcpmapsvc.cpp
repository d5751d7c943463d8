#include <gcp/GcpEditor.h>
#include <gcp/GcpInfoEditor.h>
#include <gcp/map/GcpMapsVC.h>
#include <gcp/model/PhotoGeoCache.h>
#include <services/ApplicationService.h>
#include <services/ConfigManager.h>
#include <support/TestSupport.h>

#include <QtTest>
#include <QtWidgets>

using namespace Zyn::AppGcp;

namespace {

class RecordingMaps : public GcpMapsVC {
public:
    QStringList scripts;
protected:
    void scriptIssued(const QString& script) override { scripts << script; }
};

GcpInfo point(const QString& name, double x, double y, double z = 10.0)
{
    GcpInfo g;
    g.name = name;
    g.coord1 = x;
    g.coord2 = y;
    g.coord3 = z;
    g.colour = QColor(0x11, 0x22, 0x33);
    return g;
}

QVariant eval(GcpMapsVC& maps, const QString& script)
{
    QVariant result;
    bool done = false;
    maps.runScript(script, [&](const QVariant& v) { result = v; done = true; });
    if (!QTest::qWaitFor([&done] { return done; }, 20000))
        qWarning("no answer to %s", qPrintable(script));
    return result;
}

// Map animations take their time; polls the page until the script answers true.
bool becomesTrue(GcpMapsVC& maps, const QString& script)
{
    return QTest::qWaitFor([&] { return eval(maps, script).toBool(); }, 20000);
}

} // namespace

class TestGcpMapsVC : public QObject {
    Q_OBJECT
    RecordingMaps* m_maps = nullptr;
    GcpMap m_gcps;

private slots:
    void init()
    {
        m_gcps.clear();
        m_maps = new RecordingMaps;
        m_maps->setGcps(&m_gcps);
        m_maps->getView()->resize(800, 600);
    }
    void cleanup() { delete m_maps; }

    // The script starts with expected; the tooltip (after the last comma) names the point and its position.
    void pinScripts_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<GcpInfo>("gcp");
        QTest::addColumn<QString>("expected");
        QTest::newRow("geographic, east of 90E") << "LL84" << point("GCP1", 150.5, -33.25)
            << "modifyGcpPin('GCP1','-33.25000000','150.50000000','GCP1','#112233','gcp',22,22,'<table";
        QTest::newRow("projected, long name") << "EPSG:32633" << point("Bridge north pier", 500000, 0)
            << "modifyGcpPin('Bridge north pier','0.00000000','15.00000000','Bridge no...','#112233','gcp',22,22,"
               "'<table";
        QTest::newRow("unset position") << "LL84" << point("P", 0, 0) << "removeGcpPin('P')";
        QTest::newRow("quote in name") << "LL84" << point("O'Hara", 200, 1) << "removeGcpPin('O\\'Hara')";
    }
    void pinScripts()
    {
        QFETCH(QString, code);
        QFETCH(GcpInfo, gcp);
        QFETCH(QString, expected);
        m_maps->setCoordSysInfo({code, {}, {}, 0, {}, 0});
        m_maps->getView()->show();
        m_maps->scripts.clear();
        m_gcps.insert(gcp.name, gcp);
        m_maps->onGcpInfoAdded(gcp.name);
        QCOMPARE(m_maps->scripts.size(), 1);
        const QString script = m_maps->scripts.first();
        QVERIFY2(script.startsWith(expected), qPrintable(script));
        if (script.startsWith("modify"))
            QVERIFY2(script.contains("<td>" + gcp.name + "</td>") && script.contains("<td>10.00</td>")
                         && script.contains("Click to tag photos"), qPrintable(script));
    }

    void hiddenViewDefersPinsAndZoom()
    {
        m_gcps.insert("A", point("A", 8.5, 47.25));
        m_maps->onGcpInfoAdded("A");
        m_maps->popGcpPinTooltip("A");
        m_maps->autoZoom(0.5);
        m_maps->getView()->show();
        QCOMPARE(m_maps->scripts.size(), 3);
        QCOMPARE(m_maps->scripts[0], QString("clearGcpPins()"));
        QVERIFY(m_maps->scripts[1].startsWith("modifyGcpPin('A',"));
        QCOMPARE(m_maps->scripts[2], QString("autoZoom(0.5)"));
        QVERIFY(!m_maps->pinsOutOfDate() && !m_maps->zoomPending());
    }

    // Calls go out before the page has loaded; they must all arrive.
    void cameraLoadOnRealPage()
    {
        m_maps->getView()->show();
        PhotoGpsMap cams{{L"/p/a.jpg", {8.5, 47.25, 500}}, {L"/p/b.jpg", {8.5001, 47.2501, 501}},
                         {L"/p/nogps.jpg", {0, 0, 0}}};
        m_maps->loadCameras(cams);
        const QStringList s = m_maps->scripts;
        QCOMPARE(s.first(), QString("clearCameras()"));
        QCOMPARE(s.filter("modifyCamera('/p/a.jpg','47.25000000','8.50000000','#1e6ec8','#ffffff',5,0.9,'").size(), 1);
        QCOMPARE(s.mid(s.size() - 3),
                 (QStringList{"setCameraLoadingProgress(100)", "setCamerasLoadComplete()", "autoZoom(0.2)"}));
        QCOMPARE(eval(*m_maps, "cameraCount()").toInt(), 2);
        eval(*m_maps, "cameras['/p/a.jpg'].fire('mouseover', {}, true); 0"); // as the canvas does on hover
        QVERIFY(eval(*m_maps, "cameras['/p/a.jpg'].isTooltipOpen() && "
                              "cameras['/p/a.jpg'].getTooltip().getContent().indexOf('a.jpg') > 0").toBool());
        QVERIFY(becomesTrue(*m_maps, "isMapLoaded()"));

        m_maps->setCameraReferenceGcps("/p/a.jpg", {"GCP1"});
        QVERIFY(m_maps->scripts.last().contains("'#2ca02c'") && m_maps->scripts.last().contains("ref gcps:"));
        m_maps->scripts.clear();
        m_maps->setCamerasVisible(true);
        m_maps->setCamerasVisible(false);
        QCOMPARE(m_maps->scripts, QStringList{"setCamerasVisible(false)"});
        m_maps->removeCamera("/p/b.jpg");
        int count = -1;
        m_maps->cameraCount([&count](int n) { count = n; });
        QTRY_COMPARE(count, 1);
    }

    void localTileFolder()
    {
        QTemporaryDir tiles;
        QImage tile(256, 256, QImage::Format_RGB32);
        tile.fill(Qt::darkGreen);
        for (int x = 0; x < 4; ++x)
            for (int y = 0; y < 4; ++y)
                QVERIFY(QDir(tiles.path()).mkpath(QString("2/%1").arg(x)) &&
                        tile.save(tiles.filePath(QString("2/%1/%2.png").arg(x).arg(y))));
        auto* config = Zyn::Services::ApplicationService::GetInstance()->GetConfigManager();
        config->setValue(GcpMapsVC::LocalTileFolderKey, tiles.path());
        m_maps->getView()->show();
        const bool loaded = becomesTrue(*m_maps, "document.querySelectorAll('.leaflet-tile-loaded').length > 0");
        config->remove(GcpMapsVC::LocalTileFolderKey);
        QVERIFY(loaded);
    }

    // The footprint's top edge faces the heading, its long side across it.
    void footprintCorners_data()
    {
        QTest::addColumn<double>("heading");
        QTest::addColumn<int>("northSign"); // of the top-left corner, seen from the centre
        QTest::addColumn<int>("eastSign");
        QTest::newRow("north") << 0.0 << 1 << -1;
        QTest::newRow("unknown") << qQNaN() << 1 << -1;
        QTest::newRow("east") << 90.0 << 1 << 1;
        QTest::newRow("south") << 180.0 << -1 << 1;
    }
    void footprintCorners()
    {
        QFETCH(double, heading);
        QFETCH(int, northSign);
        QFETCH(int, eastSign);
        PhotoGeo photo;
        photo.latitude = 47.25;
        photo.longitude = 8.5;
        photo.relativeAltitude = 100;
        photo.pixelSize = QSize(4000, 3000);
        const QVector<QPointF> c = photoFootprintCorners(photo, heading);
        QCOMPARE(c.size(), 4);
        const double halfDiagonal = footprintHalfDiagonal(photo, GroundPoint());
        for (const QPointF& p : c)
            QVERIFY(qAbs(groundDistance(8.5, 47.25, p.y(), p.x()) - halfDiagonal) < 0.01 * halfDiagonal);
        QCOMPARE(QPoint(c[0].x() > 47.25 ? 1 : -1, c[0].y() > 8.5 ? 1 : -1), QPoint(northSign, eastSign));
        const double top = groundDistance(c[0].y(), c[0].x(), c[1].y(), c[1].x());
        QVERIFY(qAbs(top - 1.6 * halfDiagonal) < 0.01 * halfDiagonal);
    }

    // The editor's table and the map work together; the photos lie under them.
    void editorDrivesMap()
    {
        QTemporaryDir dir;
        const QStringList photos = Zyn::TestSupport::makeDronePhotos(
            dir.path(), {"--count", "4", "--lat", "47.25", "--lon", "8.5", "--alt", "100", "--width", "600",
                         "--height", "400"});
        GcpEditor editor;
        editor.resize(1400, 900);
        editor.show();
        editor.setFiles(photos);
        QTest::mouseClick(editor.findChild<QPushButton*>("mapView_button"), Qt::LeftButton);
        auto* maps = editor.findChild<GcpMapsVC*>();
        QVERIFY(maps && maps->isViewVisible());
        QVERIFY(becomesTrue(*maps, "cameraCount() === 4 && photoCount() === 4"));
        QTest::mouseClick(editor.findChild<QPushButton*>("add_gcp_button"), Qt::LeftButton);
        auto* table = editor.findChild<QTableWidget*>("gcp_names_tableWidget");
        table->item(0, 1)->setText("8.5");
        table->item(0, 2)->setText("47.25");
        QVERIFY(becomesTrue(*maps, "gcpPinCount() === 1 && pins['GCP1'].getLatLng().lat === 47.25"));
        editor.gcpInfoEditor()->markers()["GCP1"] << GcpMarker{QString(), photos.first()};
        editor.onMarkerChanged();
        QVERIFY(becomesTrue(*maps, QString("cameras['%1'].options.fillColor === '#2ca02c'").arg(photos.first())));
        eval(*maps, "pins['GCP1']._icon.click()");
        QTRY_VERIFY(editor.findChild<QPushButton*>("photoView_button")->isChecked());
        QCOMPARE(table->currentRow(), 0);
    }

    void pinsClusterTagAndNavigate()
    {
        m_maps->getView()->show();
        QSignalSpy loaded(m_maps, &GcpMapsVC::pageLoaded);
        QVERIFY(loaded.wait(20000));
        // A and B one metre apart, C a kilometre away.
        for (const GcpInfo& g : {point("A", 8.5, 47.25), point("B", 8.500013, 47.25), point("C", 8.513, 47.25)}) {
            m_gcps.insert(g.name, g);
            m_maps->onGcpInfoAdded(g.name);
        }
        m_maps->autoZoom(0.2);
        QVERIFY(becomesTrue(*m_maps, "isGcpPinClustering('A')"));
        QVERIFY(!eval(*m_maps, "isGcpPinClustering('C')").toBool());

        QSignalSpy clicked(m_maps, &GcpMapsVC::pinClicked);
        eval(*m_maps, "pins['C']._icon.click()");
        QTRY_COMPARE(clicked.count(), 1);
        QCOMPARE(clicked.first().first().toString(), QString("C"));

        QSignalSpy tag(m_maps, &GcpMapsVC::tagPhotos);
        m_maps->navigateToGcp("A");
        QVERIFY(becomesTrue(*m_maps, "pins['A'].isPopupOpen() && map.getBounds().contains(pins['A'].getLatLng())"));
        eval(*m_maps, "pins['A'].getPopup().getElement().querySelector('a').click()");
        QTRY_COMPARE(tag.count(), 1);
        QCOMPARE(tag.first().first().toString(), QString("A"));

        m_maps->onGcpInfoDeleted("B");
        QVERIFY(becomesTrue(*m_maps, "!isGcpPinClustering('A')"));
        QCOMPARE(eval(*m_maps, "gcpPinCount()").toInt(), 2);
        m_gcps["C"].coord2 = 91;
        m_maps->onSelectedGcpChanged("C");
        m_maps->onGcpCoordsChanged(91, 1);
        QCOMPARE(eval(*m_maps, "gcpPinCount()").toInt(), 1);
    }
};

QTEST_MAIN(TestGcpMapsVC)
#include "tst_gcpmapsvc.moc"
