#include <gcp/AssistBar.h>
#include <gcp/ImagePane.h>
#include <gcp/MarkerEditor.h>
#include <gcp/model/MarkSuggester.h>
#include <gcp/model/PhotoGeoCache.h>
#include <make_drone_photos/TargetTruth.h>
#include <support/TestSupport.h>
#include <uibase/TaskDialog.h>

#include <TestPhotos.h>

#include <QtTest>
#include <QtWidgets>

#include <cmath>

using namespace Zyn::AppGcp;
using Zyn::TestSupport::sendMouse;
using Zyn::UiBase::TaskDialog;

namespace {
GcpInfo point(const QString& name)
{
    GcpInfo gcp;
    gcp.name = name;
    return gcp;
}
} // namespace

class MarkerEditorTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        for (int i = 0; i < 4; ++i) {
            m_photos << m_dir.filePath(QStringLiteral("IMG_%1.jpg").arg(i));
            QVERIFY(TestPhotos::writePhoto(m_photos.last(), QSize(600, 400), i, false));
        }
    }

    void init()
    {
        m_markers.clear();
        m_gcps.clear();
        m_gcps.insert(QStringLiteral("A"), point(QStringLiteral("A")));
        m_gcps.insert(QStringLiteral("B"), point(QStringLiteral("B")));
        m_editor.reset(new MarkerEditor);
        m_editor->setMarkerMap(&m_markers);
        m_editor->setGcpMap(&m_gcps);
        m_editor->setFiles(m_photos);
        QVERIFY(Zyn::TestSupport::showExposed(m_editor.data(), QSize(900, 700)));
        m_pane = m_editor->imagePane();
    }
    void cleanup() { TaskDialog::clearHandler(); }

    // Clicks that must not place a marker, on a fitted pane (letterbox above and below).
    void clickThatDoesNotPlace_data()
    {
        QTest::addColumn<int>("gesture");
        QTest::newRow("release after a pan") << 1;
        QTest::newRow("right click") << 2;
        QTest::newRow("click in the letterbox") << 3;
    }
    void clickThatDoesNotPlace()
    {
        QFETCH(int, gesture);
        m_editor->setSelectedGcp(QStringLiteral("A"));
        m_editor->openImage(m_photos.at(0));
        QTRY_VERIFY(m_pane->isFullResolution());
        const QRect bound = m_pane->getActualImageBound();
        QVERIFY(bound.top() > 0);
        const QPoint at = bound.center();
        if (gesture == 1) {
            m_pane->centreOn(QPointF(300, 200), 4.0);
            sendMouse(m_pane, QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
            sendMouse(m_pane, QEvent::MouseMove, at + QPoint(40, 0), Qt::NoButton, Qt::LeftButton);
            sendMouse(m_pane, QEvent::MouseButtonRelease, at + QPoint(40, 0), Qt::LeftButton, Qt::NoButton);
        } else {
            QTest::mouseClick(m_pane, gesture == 2 ? Qt::RightButton : Qt::LeftButton, Qt::NoModifier,
                              gesture == 2 ? at : QPoint(at.x(), bound.top() / 2));
        }
        QVERIFY(!m_markers.contains(QStringLiteral("A")));
    }

    void oneMarkerPerPhotoMovedByClickAndKeys()
    {
        m_markers[QStringLiteral("B")] << GcpMarker{QString(), m_photos.at(0), QPoint(50, 60), 1};
        m_editor->setSelectedGcp(QStringLiteral("A"));
        m_editor->openImage(m_photos.at(0));
        QTRY_VERIFY(m_pane->isFullResolution());
        const QRect bound = m_pane->getActualImageBound();
        QTest::mouseClick(m_pane, Qt::LeftButton, Qt::NoModifier, bound.center() - QPoint(100, 0));
        QTest::mouseClick(m_pane, Qt::LeftButton, Qt::NoModifier, bound.center());
        QCOMPARE(m_markers.value(QStringLiteral("A")).size(), 1);
        // Its name beside it, not under the magnifier.
        const QRect named = m_pane->currentMarker()->geometry();
        QVERIFY(!m_pane->magnifier()->geometry().adjusted(14, 14, -14, -14).intersects(named));
        const QPoint pixel = m_pane->getSourcePoint(bound.center());
        QCOMPARE(m_markers.value(QStringLiteral("A")).first().pixel, pixel);
        // Another point's marker is there, named and locked.
        const QList<Zyn::UiToolkit::LxPixelMarker*> others = m_pane->otherMarkers();
        QCOMPARE(others.size(), 1);
        QCOMPARE(others.first()->text(), QStringLiteral("B"));
        QVERIFY(others.first()->isLocked());
        // Arrow keys: one image pixel per press, at any zoom.
        m_pane->centreOn(QPointF(pixel), 0.5 * m_pane->fitScale() + 3.0);
        m_pane->currentMarker()->setFocus();
        QTest::keyClick(m_pane->currentMarker(), Qt::Key_Right);
        QTest::keyClick(m_pane->currentMarker(), Qt::Key_Right);
        QTest::keyClick(m_pane->currentMarker(), Qt::Key_Up);
        QCOMPARE(m_markers.value(QStringLiteral("A")).first().pixel, pixel + QPoint(2, -1));
        // Deleting the last marker of a point removes the point from the map.
        QTest::keyClick(m_pane->currentMarker(), Qt::Key_Delete);
        QVERIFY(!m_markers.contains(QStringLiteral("A")));
        QVERIFY(m_markers.contains(QStringLiteral("B")));
    }

    void navigationEndsWithoutWrap()
    {
        for (int i = 0; i < 3; ++i)
            m_markers[QStringLiteral("A")] << GcpMarker{QString(), m_photos.at(i), QPoint(10, 10), 1};
        m_editor->setSelectedGcp(QStringLiteral("A"));
        m_editor->openImage(m_photos.at(0));
        QTest::keyClick(m_pane, Qt::Key_PageDown);
        QTest::keyClick(m_pane, Qt::Key_PageDown);
        QCOMPARE(m_editor->currentImage(), m_photos.at(2));
        auto* next = m_editor->findChild<QToolButton*>(QStringLiteral("button_next"));
        QVERIFY(!next->isEnabled());
        QCOMPARE(m_editor->findChild<QLabel*>(QStringLiteral("label_nav_info"))->text(), QStringLiteral("3 of 3"));
        QTest::keyClick(m_pane, Qt::Key_PageDown);
        QCOMPARE(m_editor->currentImage(), m_photos.at(2));
        // Deleting on the last marked photo steps back first.
        QSignalSpy deleted(m_editor.data(), &MarkerEditor::markerDeleted);
        QTest::mouseClick(m_editor->findChild<QPushButton*>(QStringLiteral("button_delete_marker")), Qt::LeftButton);
        QCOMPARE(deleted.takeFirst().at(0).toString(), m_photos.at(2));
        QCOMPARE(m_editor->currentImage(), m_photos.at(1));
        QCOMPARE(m_markers.value(QStringLiteral("A")).size(), 2);
        QTest::keyClick(m_pane, Qt::Key_Escape);
        QVERIFY(m_editor->isShowingThumbnails());
    }

    void deletingTheOnlyMarkerReturns()
    {
        m_markers[QStringLiteral("A")] << GcpMarker{QString(), m_photos.at(1), QPoint(10, 10), 1};
        m_editor->setSelectedGcp(QStringLiteral("A"));
        m_editor->openImage(m_photos.at(1));
        QSignalSpy returned(m_editor.data(), &MarkerEditor::returnButtonClicked);
        QTest::mouseClick(m_editor->findChild<QPushButton*>(QStringLiteral("button_delete_marker")), Qt::LeftButton);
        QCOMPARE(returned.count(), 1);
        QVERIFY(!m_markers.contains(QStringLiteral("A")));
        QVERIFY(m_editor->isShowingThumbnails());
    }

    void pointLabels_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("markers");
        QTest::addColumn<QString>("text");
        QTest::newRow("one marker") << "A" << 1 << "A found on 1 image";
        QTest::newRow("none is plural") << "A" << 0 << "A found on 0 images";
        QTest::newRow("long name cut at 25")
            << "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123" << 2 << "ABCDEFGHIJKLMNOPQRSTUVWXY... found on 2 images";
    }
    void pointLabels()
    {
        QFETCH(QString, name);
        QFETCH(int, markers);
        QFETCH(QString, text);
        m_gcps.insert(name, point(name));
        for (int i = 0; i < markers; ++i)
            m_markers[name] << GcpMarker{QString(), m_photos.at(i), QPoint(5, 5), 1};
        m_editor->setSelectedGcp(name);
        QCOMPARE(m_editor->findChild<QLabel*>(QStringLiteral("label_gcp_info"))->text(), text);
    }

    void openingWithoutPointSaysSo()
    {
        Zyn::TestSupport::DialogRecorder said;
        said.record();
        m_editor->openImage(m_photos.at(0));
        QCOMPARE(said.size(), 1);
        QCOMPARE(said.first().mainText, QStringLiteral("Select or add a Ground Control Point."));
        QVERIFY(m_editor->isShowingThumbnails());
    }

    void filterPassingNothingCountsAll()
    {
        PhotoGeoCache cache;
        m_editor->setGeoCache(&cache);
        m_editor->setSelectedGcp(QStringLiteral("A")); // no position: nothing can be near it
        QSignalSpy filtered(m_editor.data(), &MarkerEditor::afterGPSFiltered);
        m_editor->findChild<QCheckBox*>(QStringLiteral("checkBox_filterByGps"))->setChecked(true);
        QVERIFY(filtered.wait());
        QCOMPARE(filtered.first().at(0).toInt(), 0);
        QCOMPARE(m_editor->findChild<QLabel*>(QStringLiteral("label_image_info"))->text(),
                 QStringLiteral("Displaying images: 4 of 4"));
    }

    // Assisted marking on a generated flight: nothing becomes a marker
    // without the surveyor's key or click.
    void assistKeysAndClicksDecide()
    {
        openFlight(false);
        const QString first = m_flight.first();
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
        openFlight(true);
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
    // Swaps the editor's photos and points for a generated flight's.
    void openFlight(bool coded)
    {
        QStringList args = {"--count", "12", "--lat", "47.07", "--lon", "15.44", "--alt", "450", "--agl", "100",
                            "--width", "1600", "--height", "1067", "--gcps", "2", "--target-size", "3"};
        m_flightDir.reset(new QTemporaryDir);
        m_flight = Zyn::TestSupport::makeDronePhotos(m_flightDir->path(), coded ? args << "--coded-targets" : args);
        QCOMPARE(m_flight.size(), 12);
        m_truth = Zyn::Tools::readTargetTruth(m_flightDir->path());
        m_gcps.clear();
        for (const auto& t : m_truth.points) {
            GcpInfo gcp = point(t.name);
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
        m_editor->setGeoCache(&m_cache);
        m_editor->setFiles(m_flight);
        m_editor->setCoordSys(Zyn::AppCreate::GcpCoordSysInfo(m_truth.crs, m_truth.crs, m_truth.crs.mid(5), 1,
                                                               QStringLiteral("WGS 84"), 0));
        m_editor->setSelectedGcp(m_point);
        // The first photo in order that shows the point goes first.
        const QHash<QString, QPointF> truth = m_truth.pixelsOf(m_point);
        std::stable_partition(m_flight.begin(), m_flight.end(),
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

    QTemporaryDir m_dir;
    QStringList m_photos;
    MarkerMap m_markers;
    GcpMap m_gcps;
    PhotoGeoCache m_cache;
    QScopedPointer<QTemporaryDir> m_flightDir;
    QStringList m_flight;
    Zyn::Tools::TargetTruth m_truth;
    QString m_point;
    QScopedPointer<MarkerEditor> m_editor;
    ImagePane* m_pane = nullptr;
};

QTEST_MAIN(MarkerEditorTest)
#include "tst_markereditor.moc"
