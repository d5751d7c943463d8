#include <maps/MapsViewController.h>

#include <QtTest>

using Zyn::UiToolkit::MapsViewController;

// A broken installation must leave a readable message, never a blank or hung map.
class TestMapsViewController : public QObject {
    Q_OBJECT
private slots:
    void brokenPageShowsMessage_data()
    {
        QTest::addColumn<QString>("removed");
        QTest::addColumn<QString>("expected");
        QTest::newRow("leaflet") << "map/leaflet/leaflet.js" << "leaflet.js";
        QTest::newRow("cluster plug-in") << "map/leaflet/leaflet.markercluster.js" << "marker-cluster";
        QTest::newRow("page script") << "map/map.js" << "map.js";
        QTest::newRow("page") << "map/map.html" << "not found";
    }
    void brokenPageShowsMessage()
    {
        QFETCH(QString, removed);
        QFETCH(QString, expected);
        QTemporaryDir dir;
        const QDir shipped(qEnvironmentVariable("ZYN_DATA_PATH"));
        for (const QString& f : {"map/map.html", "map/map.js", "map/map.css", "map/leaflet/leaflet.js",
                                 "map/leaflet/leaflet.css", "map/leaflet/leaflet.markercluster.js"}) {
            QDir(dir.path()).mkpath(QFileInfo(f).path());
            if (f != removed)
                QVERIFY(QFile::copy(shipped.filePath(f), QDir(dir.path()).filePath(f)));
        }
        qputenv("ZYN_DATA_PATH", QFile::encodeName(dir.path()));
        MapsViewController maps(QStringLiteral("test"), {});
        QVariant answer = QStringLiteral("unanswered");
        maps.runScript(QStringLiteral("1+1"), [&answer](const QVariant& v) { answer = v; });
        QSignalSpy failed(&maps, &MapsViewController::pageFailed);
        maps.getView()->show();
        QVERIFY(failed.wait(20000));
        auto* label = maps.getView()->findChild<QLabel*>(QStringLiteral("map_message"));
        QVERIFY(label && label->isVisible());
        QVERIFY2(label->text().contains(expected), qPrintable(label->text()));
        QTRY_VERIFY(!answer.isValid());
        qputenv("ZYN_DATA_PATH", shipped.path().toUtf8());
    }
};

QTEST_MAIN(TestMapsViewController)
#include "tst_mapsviewcontroller.moc"
