#include <gcp/AssistBar.h>
#include <gcp/ImagePane.h>
#include <gcp/MarkerEditor.h>
#include <gcp/model/MarkSuggester.h>
#include <make_drone_photos/TargetTruth.h>
#include <support/TestSupport.h>

#include <QtTest>
#include <QtWidgets>

#include <cmath>

using namespace Zyn::AppGcp;

// The surveyor's side of assisted marking on a generated flight: nothing
// becomes a marker without their key or click.
class AssistedMarkingTest : public QObject {
    Q_OBJECT
private slots:
    void init()
    {
        m_dir.reset(new QTemporaryDir);
        m_editor.reset();
        m_markers.clear();
        m_gcps.clear();
    }

    void keysAndClicksDecide()
    {
        open(false);
        const QString first = m_photos.first();
        markAtTruth(first);
        QCOMPARE(m_markers.value(m_point).size(), 1);
        MarkSuggester* assist = m_editor->assist();
        QTRY_VERIFY_WITH_TIMEOUT(assist->suggestedPhotos(m_point).size() >= 4 && !assist->isBusy(), 20000);
        // Suggestions wait; the marker map holds only the surveyor's mark.
        QCOMPARE(m_markers.value(m_point).size(), 1);

        ImagePane* pane = m_editor->imagePane();
        QStringList waiting = assist->suggestedPhotos(m_point);
        // Enter accepts on the open photo and moves to the next suggestion.
        m_editor->openImage(waiting.at(0));
        const MarkSuggestion s = assist->suggestion(m_point, waiting.at(0));
        QTest::keyClick(pane, Qt::Key_Return);
        QCOMPARE(markerOn(waiting.at(0)), QPoint(qRound(s.pixel.x()), qRound(s.pixel.y())));
        QCOMPARE(m_editor->currentImage(), waiting.at(1));
        // Delete rejects: no marker, and the photo is not offered again.
        QTest::keyClick(pane, Qt::Key_Delete);
        QCOMPARE(markerOn(waiting.at(1)), QPoint(-1, -1));
        QVERIFY(!assist->hasSuggestion(m_point, waiting.at(1)));
        // A click on a suggestion takes its pixel, not the clicked one.
        m_editor->openImage(waiting.at(2));
        QTRY_VERIFY(pane->isFullResolution());
        const QPoint suggested = pane->suggestionPixel();
        pane->centreOn(QPointF(suggested), 1.0);
        QTest::mouseClick(pane, Qt::LeftButton, Qt::NoModifier, pane->getLocalPoint(suggested) + QPoint(3, -2));
        QCOMPARE(markerOn(waiting.at(2)), suggested);

        // New marks search again; the rejected photo stays rejected.
        QTRY_VERIFY_WITH_TIMEOUT(!assist->isBusy(), 20000);
        QVERIFY(!assist->hasSuggestion(m_point, waiting.at(1)));
        // "Accept all above" shows its count first and takes just those.
        AssistBar* bar = m_editor->assistBar();
        bar->setThreshold(0.5);
        const int above = assist->countAbove(m_point, 0.5);
        QVERIFY(above > 0);
        QCOMPARE(bar->acceptAllButton()->text(), QStringLiteral("Accept %1 above").arg(above));
        const int before = m_markers.value(m_point).size();
        QTest::mouseClick(bar->acceptAllButton(), Qt::LeftButton);
        QCOMPARE(m_markers.value(m_point).size(), before + above);
        QVERIFY(assist->suggestedPhotos(m_point).isEmpty());
    }

    // Coded targets: "Detect targets" suggests markers for the points named
    // after the targets' numbers, with no mark at all.
    void detectTargetsSuggestsWithoutAMark()
    {
        open(true);
        QTest::mouseClick(m_editor->assistBar()->detectButton(), Qt::LeftButton);
        MarkSuggester* assist = m_editor->assist();
        QTRY_VERIFY_WITH_TIMEOUT(!assist->isBusy() && !assist->suggestedPhotos(m_point).isEmpty(), 30000);
        QVERIFY(m_markers.isEmpty());
        const QHash<QString, QPointF> truth = m_truth.pixelsOf(m_point);
        for (const QString& path : assist->suggestedPhotos(m_point)) {
            const QPointF t = truth.value(QFileInfo(path).fileName(), QPointF(-99, -99)) - QPointF(0.5, 0.5);
            QVERIFY(QLineF(assist->suggestion(m_point, path).pixel, t).length() <= 1.0);
        }
    }

private:
    void open(bool coded)
    {
        QStringList args = {"--count", "12", "--lat", "47.07", "--lon", "15.44", "--alt", "450", "--agl", "100",
                            "--width", "1600", "--height", "1067", "--gcps", "2", "--target-size", "3"};
        m_photos = Zyn::TestSupport::makeDronePhotos(m_dir->path(), coded ? args << "--coded-targets" : args);
        QCOMPARE(m_photos.size(), 12);
        m_truth = Zyn::Tools::readTargetTruth(m_dir->path());
        for (const auto& t : m_truth.points) {
            GcpInfo gcp;
            gcp.name = t.name;
            gcp.coord1 = t.x;
            gcp.coord2 = t.y;
            gcp.coord3 = t.z;
            m_gcps.insert(t.name, gcp);
        }
        // The point seen on the most photos.
        m_point = m_truth.points.first().name;
        for (const auto& t : m_truth.points)
            if (m_truth.pixelsOf(t.name).size() > m_truth.pixelsOf(m_point).size())
                m_point = t.name;
        m_editor.reset(new MarkerEditor);
        m_editor->setGeoCache(&m_cache);
        m_editor->setMarkerMap(&m_markers);
        m_editor->setGcpMap(&m_gcps);
        m_editor->setFiles(m_photos);
        m_editor->setCoordSys(Zyn::AppCreate::GcpCoordSysInfo(m_truth.crs, m_truth.crs, m_truth.crs.mid(5), 1,
                                                               QStringLiteral("WGS 84"), 0));
        m_editor->resize(1200, 800);
        m_editor->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_editor.data()));
        m_editor->setSelectedGcp(m_point);
        // The first photo in order that shows the point goes first.
        const QHash<QString, QPointF> truth = m_truth.pixelsOf(m_point);
        std::stable_partition(m_photos.begin(), m_photos.end(),
                              [&](const QString& p) { return truth.contains(QFileInfo(p).fileName()); });
    }

    void markAtTruth(const QString& path)
    {
        const QPointF t = m_truth.pixelsOf(m_point).value(QFileInfo(path).fileName());
        const QPoint pixel(int(std::floor(t.x())), int(std::floor(t.y())));
        m_editor->openImage(path);
        ImagePane* pane = m_editor->imagePane();
        QTRY_VERIFY(pane->isFullResolution());
        pane->centreOn(QPointF(pixel), pane->closeScale());
        QTest::mouseClick(pane, Qt::LeftButton, Qt::NoModifier, pane->getLocalPoint(pixel));
    }

    QPoint markerOn(const QString& path) const
    {
        for (const GcpMarker& m : m_markers.value(m_point))
            if (m.image == path)
                return m.pixel;
        return QPoint(-1, -1);
    }

    QScopedPointer<QTemporaryDir> m_dir;
    QScopedPointer<MarkerEditor> m_editor;
    PhotoGeoCache m_cache;
    MarkerMap m_markers;
    GcpMap m_gcps;
    QStringList m_photos;
    Zyn::Tools::TargetTruth m_truth;
    QString m_point;
};

QTEST_MAIN(AssistedMarkingTest)
#include "tst_assistedmarking.moc"
