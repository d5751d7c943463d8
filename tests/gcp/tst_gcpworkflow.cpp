// The GCP editor as a surveyor meets it: opened from the create view,
// points kept between visits and across sessions, a damaged save kept
// aside, and the points carried into the project at Start; then the
// table of points and the marker editor on their own.

#include <create/AerialCreateViewController.h>

#include <appcreate/MainState.h>
#include <appcreate/PhotoPreview.h>
#include <appcreate/ProcessingService.h>
#include <gcp/AssistBar.h>
#include <gcp/GcpCommand.h>
#include <gcp/GcpEditor.h>
#include <gcp/GcpInfoEditor.h>
#include <gcp/GcpViewController.h>
#include <gcp/ImagePane.h>
#include <gcp/MarkerEditor.h>
#include <gcp/model/MarkSuggester.h>
#include <gcp/model/PhotoGeoCache.h>
#include <gcp/model/SurveyAutosave.h>
#include <keelcore/Dispatch.h>
#include <make_drone_photos/TargetTruth.h>
#include <uibase/BaseView.h>

#include <TestPhotos.h>
#include <support/TestSupport.h>

#include <QtTest>
#include <QtWidgets>

#include <cmath>

using namespace Zyn::AppGcp;
using Zyn::AppCreate::AerialCreateViewController;
using Zyn::AppCreate::GcpCoordSysInfo;
using Zyn::TestSupport::sendMouse;

namespace {
const GcpCoordSysInfo kUtm33("EPSG:32633", "WGS 84 / UTM zone 33N", "32633", 1, "WGS 84", 0);

GcpInfo point(const QString& name, double x, double y, double z = 350.25, bool checkpoint = false)
{
    GcpInfo gcp;
    gcp.name = name;
    gcp.coord1 = x;
    gcp.coord2 = y;
    gcp.coord3 = z;
    gcp.checkpoint = checkpoint;
    return gcp;
}

// The context menu the table opens at pos, as its actions' texts; "(off)" marks a disabled one.
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

class GcpWorkflowTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        qputenv("ZYN_PROJECTS_DIR", m_dir.filePath(QStringLiteral("projects")).toUtf8());
        for (int i = 0; i < 4; ++i) {
            m_photos << m_dir.filePath(QStringLiteral("DJI_%1.JPG").arg(i));
            QVERIFY(TestPhotos::writePhoto(m_photos.last(), QSize(600, 400), i, false));
        }
    }
    void init()
    {
        QSettings().clear();
        m_dialogs.record();
        m_info.reset(new GcpInfoEditor);
        QVERIFY(Zyn::TestSupport::showExposed(m_info.data(), QSize(1280, 760)));
        m_info->setSurvey({point("GCP1", 500000, 5200000), point("GCP2", 500100, 5200100)}, {}, kUtm33);
        m_table = m_info->findChild<QTableWidget*>(QStringLiteral("gcp_names_tableWidget"));
        QVERIFY(m_table);
        m_markers.clear();
        m_gcps = gcpMapByName({point("A", 0, 0), point("B", 0, 0)});
        m_marking.reset(new MarkerEditor);
        m_marking->setMarkerMap(&m_markers);
        m_marking->setGcpMap(&m_gcps);
        m_marking->setFiles(m_photos);
        QVERIFY(Zyn::TestSupport::showExposed(m_marking.data(), QSize(900, 700)));
        m_pane = m_marking->imagePane();
    }
    void cleanup()
    {
        QVERIFY(KeelCore::waitForIdle());
        m_dialogs.stop();
    }

    void commandFollowsPhotosAndPanelKeepsPoints()
    {
        AerialCreateViewController create;
        create.Initialize();
        QVERIFY(Zyn::TestSupport::showExposed(create.getView(), QSize(1200, 800)));
        GcpCommand* command = create.findChild<GcpCommand*>();
        QVERIFY(command);
        QVERIFY(!command->isEnabled());
        qobject_cast<Zyn::AppCreate::MainState*>(create.getState())->getPhotoCanvas()->addFiles(m_photos);
        QTRY_VERIFY(command->isEnabled());

        QVERIFY(command->execute());
        QPointer<GcpEditor> editor = command->gcpViewController()->getGcpEditor();
        QVERIFY(editor);
        QCOMPARE(editor->files().size(), 4);
        editor->gcpInfoEditor()->addGcps({point(QStringLiteral("T1"), 500000, 5200000)});
        command->panel()->close();
        QVERIFY(command->execute());
        QCOMPARE(command->gcpViewController()->getGcpEditor().data(), editor.data());

        // Start carries the points into the project, checkpoints kept apart.
        editor->gcpInfoEditor()->addGcps({point("T2", 500100, 5200000), point("CP 1", 500050, 5200050, 350.25, true)});
        editor->gcpInfoEditor()->setCoordSys(kUtm33);
        MarkerMap& markers = editor->gcpInfoEditor()->markers();
        markers[QStringLiteral("T1")] << GcpMarker{QString(), m_photos.at(0), QPoint(120, 80), 1}
                                      << GcpMarker{QString(), m_photos.at(1), QPoint(121, 181), 1};
        markers[QStringLiteral("CP 1")] << GcpMarker{QString(), m_photos.at(2), QPoint(7, 9), 1};
        Zyn::AppCreate::ProjectRequest request;
        request.name = QStringLiteral("Quarry");
        request.photos = m_photos;
        request.coordSysId = QStringLiteral("EPSG:32633");
        QString error;
        QVERIFY2(create.prepareProjectRequest(request, &error), qPrintable(error));
        QString folder;
        QVERIFY2(Zyn::AppCreate::ProcessingService::instance()->submitProject(request, &folder, &error),
                 qPrintable(error));
        auto read = [&](const char* name) { return Zyn::TestSupport::readFile(QDir(folder).filePath(name)); };
        // T2 has no marker: it is not listed.
        QCOMPARE(read("gcp_list.txt"),
                 QByteArray("EPSG:32633\n"
                            "500000.000000000 5200000.000000000 350.2500 120 80 DJI_0.JPG T1\n"
                            "500000.000000000 5200000.000000000 350.2500 121 181 DJI_1.JPG T1\n"));
        QVERIFY(read("checkpoint_list.txt")
                    .endsWith("500050.000000000 5200050.000000000 350.2500 7 9 DJI_2.JPG CP_1\n"));
        QVERIFY(!read("gcp_survey_ll84.xml").isEmpty());
        QVERIFY(read("project.json").contains("\"checkpoints\": [\n            \"CP 1\""));
    }

    void surveyResumesForTheSamePhotos()
    {
        const QString scenes = m_dir.filePath(QStringLiteral("projects/.support"));
        {
            GcpEditor editor;
            editor.setFiles(m_photos);
            editor.setSupportFilePath(scenes + QStringLiteral("/first/gcp_survey.xml"));
            editor.gcpInfoEditor()->setSurvey({point(QStringLiteral("A"), 500000, 5200000)}, {}, kUtm33);
            editor.gcpInfoEditor()->markers()["A"] << GcpMarker{QString(), m_photos.at(1), QPoint(33, 44), 1};
            editor.gcpInfoEditor()->addGcps({point(QStringLiteral("B"), 500010, 5200000)});
        } // closing the editor writes what is pending
        GcpEditor again;
        again.setFiles(m_photos);
        again.setSupportFilePath(scenes + QStringLiteral("/second/gcp_survey.xml"));
        QCOMPARE(again.gcpInfoEditor()->gcps().keys(), (QStringList{QStringLiteral("A"), QStringLiteral("B")}));
        QCOMPARE(again.gcpInfoEditor()->markers().value(QStringLiteral("A")).first().image, m_photos.at(1));
        QCOMPARE(again.gcpInfoEditor()->coordSys().code, QStringLiteral("EPSG:32633"));

        // Other photos: nothing to resume.
        GcpEditor other;
        other.setFiles(m_photos.mid(0, 2));
        other.setSupportFilePath(scenes + QStringLiteral("/third/gcp_survey.xml"));
        QVERIFY(other.gcpInfoEditor()->gcps().isEmpty());
    }

    void damagedSaveIsKeptAsideAndReported()
    {
        const QString path = m_dir.filePath(QStringLiteral("projects/.support/broken/gcp_survey.xml"));
        QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
        QVERIFY(Zyn::TestSupport::writeFile(path, "<survey><gcp name=\"A\""));
        GcpEditor editor;
        editor.setFiles(m_photos);
        editor.setSupportFilePath(path);
        QCOMPARE(m_dialogs.size(), 1);
        const QStringList aside = QDir(QFileInfo(path).absolutePath()).entryList({"gcp_survey.xml.damaged-*"});
        QCOMPARE(aside.size(), 1);
        QVERIFY(m_dialogs.first().secondaryText.contains(aside.first()));
        // New work is saved again, beside the kept copy.
        editor.gcpInfoEditor()->addGcps({point(QStringLiteral("New"), 500000, 5200000)});
        editor.flushAutosave();
        QVERIFY(isReadableSurveyFile(path));
        QCOMPARE(Zyn::TestSupport::readFile(QFileInfo(path).absoluteDir().filePath(aside.first())),
                 QByteArray("<survey><gcp name=\"A\""));
    }

    // A surveyor's job on a generated flight: the surveyed coordinates
    // pasted, each target clicked at its true pixel, the list for processing
    // written with the truth.
    void truthInTrueListOut()
    {
        QTemporaryDir flight;
        const QStringList photos = Zyn::TestSupport::makeTargetFlight(flight.path());
        const auto read = [&](const QString& name) {
            return QString::fromUtf8(Zyn::TestSupport::readFile(QDir(flight.path()).filePath(name)));
        };
        GcpEditor editor;
        QVERIFY(Zyn::TestSupport::showExposed(&editor, QSize(1400, 900)));
        editor.setFiles(photos);
        const QString code = read(QStringLiteral("gcp_truth_crs.txt")).trimmed();
        editor.gcpInfoEditor()->setCoordSys(GcpCoordSysInfo(code, code, code.mid(5), 1, QStringLiteral("WGS 84"), 0));
        QApplication::clipboard()->setText(read(QStringLiteral("gcp_truth.txt")));
        editor.gcpInfoEditor()->onContextMenuPasteTriggered();
        QCOMPARE(editor.gcpInfoEditor()->gcps().size(), 3);

        MarkerEditor* marking = editor.gcpInfoEditor()->markerEditor();
        QMap<QString, QString> expected; // "point image" -> pixel
        for (const QString& row : read("gcp_pixels.csv").split('\n', Qt::SkipEmptyParts).mid(1)) {
            const QStringList f = row.split(QLatin1Char(','));
            const QPoint pixel(int(std::floor(f.at(2).toDouble())), int(std::floor(f.at(3).toDouble())));
            editor.gcpInfoEditor()->selectGcp(f.at(1));
            marking->openImage(QDir(flight.path()).filePath(f.at(0)));
            ImagePane* pane = marking->imagePane();
            QTRY_VERIFY(pane->isFullResolution());
            pane->centreOn(QPointF(pixel), pane->closeScale());
            QTest::mouseClick(pane, Qt::LeftButton, Qt::NoModifier, pane->getLocalPoint(pixel));
            expected.insert(f.at(1) + ' ' + f.at(0), QStringLiteral("%1 %2").arg(pixel.x()).arg(pixel.y()));
            QTest::keyClick(pane, Qt::Key_Escape);
        }
        for (const QString& name : editor.gcpInfoEditor()->gcps().keys())
            QVERIFY2(!editor.status().value(name).contains(1), qPrintable(name));

        Zyn::AppCreate::ProjectRequest request;
        QString error;
        QVERIFY2(editor.prepareHandOff(request, &error), qPrintable(error));
        const QStringList list = QString::fromUtf8(request.files.value("gcp_list.txt")).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(list.first(), code);
        QCOMPARE(list.size() - 1, expected.size());
        const QStringList truth = read(QStringLiteral("gcp_truth.txt")).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (const QString& line : list.mid(1)) {
            const QStringList f = line.split(QLatin1Char(' '));
            QCOMPARE(expected.value(f.at(6) + QLatin1Char(' ') + f.at(5)), f.at(3) + QLatin1Char(' ') + f.at(4));
            const QStringList t = truth.filter(f.at(6) + QLatin1Char('\t')).value(0).split(QLatin1Char('\t'));
            for (int k = 0; k < 3; ++k) // the point's coordinates
                QCOMPARE(f.at(k).toDouble(), t.value(k + 1).toDouble());
        }
    }

    // The table of points on its own.
    void caseOnlyRenameIsRefused()
    {
        QSignalSpy renamed(m_info.data(), &GcpInfoEditor::gcpNameChanged);
        m_table->item(0, 0)->setText(QStringLiteral("gcp1"));
        QCOMPARE(m_table->item(0, 0)->text(), QStringLiteral("GCP1"));
        m_table->item(0, 0)->setText(QStringLiteral("GCP2")); // another row's name
        QCOMPARE(m_table->item(0, 0)->text(), QStringLiteral("GCP1"));
        m_table->item(0, 0)->setText(QStringLiteral("Tower"));
        QCOMPARE(renamed.count(), 1);
        QCOMPARE(renamed.at(0).at(0).toString(), QStringLiteral("GCP1"));
        QCOMPARE(m_info->gcps().keys(), (QStringList{"GCP2", "Tower"}));
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
        QSignalSpy coords(m_info.data(), &GcpInfoEditor::gcpCoordsChanged);
        sendMouse(viewport, QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
        sendMouse(viewport, QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton);
        QCOMPARE(viewport->cursor().shape(), Qt::BitmapCursor);
        const QImage noSwap = QPixmap(QStringLiteral(":/resources/images/cursors/cursor_noswap.png")).toImage();
        QCOMPARE(viewport->cursor().pixmap().toImage() == noSwap, !swapped);
        sendMouse(viewport, QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);
        const GcpInfo gcp = m_info->gcps().value(QStringLiteral("GCP1"));
        QCOMPARE(QPointF(gcp.coord1, gcp.coord2), swapped ? QPointF(5200000, 500000) : QPointF(500000, 5200000));
        QCOMPARE(coords.count(), swapped ? 2 : 0);
    }

    void worstStatusDecidesTheIcon()
    {
        m_info->setStatus({{QStringLiteral("GCP1"), {1, 3}}, {QStringLiteral("GCP2"), {}}});
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
        QSignalSpy typeChanged(m_info.data(), &GcpInfoEditor::gcpCoordsTypeChanged);
        m_info->setCoordSys(GcpCoordSysInfo(code, code, code.mid(5), unit, QString(), unit == 1001 ? 2 : 0));
        QCOMPARE(m_table->horizontalHeaderItem(1)->text(), xHeader);
        QCOMPARE(m_info->coordsTemplate(), coordsTemplate);
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
            m_info->markers()["GCP1"] << GcpMarker{QString(), QString("/p/%1.jpg").arg(i), {10, 10}};
        m_info->selectGcp(QStringLiteral("GCP1"));
        bool noMarker = false;
        QCOMPARE(m_info->placementHint(&noMarker), hint);
        QCOMPARE(noMarker, markers == 0);
    }

    void contextMenuOffersWhatFits()
    {
        m_info->setSurvey({point("GCP1", 500000, 5200000), point("Far", 9e7, 9e7)}, {}, kUtm33);
        const auto cell = [this](int row) { return m_table->visualItemRect(m_table->item(row, 0)).center(); };
        QCOMPARE(contextMenuAt(m_table, QPoint(10, m_table->viewport()->height() - 5)), QStringList{"Paste"});
        QCOMPARE(contextMenuAt(m_table, cell(1)), QStringList{"Navigate to (off)"});
        QCOMPARE(contextMenuAt(m_table, cell(0)), QStringList{"Navigate to"});
    }

    void addAndDeleteKeepNamesUnique()
    {
        QSignalSpy added(m_info.data(), &GcpInfoEditor::gcpInfoAdded);
        QSignalSpy deleted(m_info.data(), &GcpInfoEditor::gcpInfoDeleted);
        QTest::mouseClick(m_info->findChild<QWidget*>(QStringLiteral("add_gcp_button")), Qt::LeftButton);
        QCOMPARE(added.takeFirst().at(0).toString(), QStringLiteral("GCP3"));
        m_table->selectRow(0);
        QTest::mouseClick(m_info->findChild<QWidget*>(QStringLiteral("del_gcp_button")), Qt::LeftButton);
        QCOMPARE(deleted.takeFirst().at(0).toString(), QStringLiteral("GCP1"));
        QTest::mouseClick(m_info->findChild<QWidget*>(QStringLiteral("add_gcp_button")), Qt::LeftButton);
        QCOMPARE(added.takeFirst().at(0).toString(), QStringLiteral("GCP1"));
        QCOMPARE(m_table->rowCount(), 3);
    }

    void nonNumericCoordinateReadsAsZero()
    {
        m_table->item(0, 3)->setText(QStringLiteral("abc"));
        QCOMPARE(m_info->gcps().value(QStringLiteral("GCP1")).coord3, 0.0);
        QCOMPARE(m_table->rowCount(), 2);
    }

    // The marker editor on its own.
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
        m_marking->setSelectedGcp(QStringLiteral("A"));
        m_marking->openImage(m_photos.at(0));
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
        m_marking->setSelectedGcp(QStringLiteral("A"));
        m_marking->openImage(m_photos.at(0));
        QTRY_VERIFY(m_pane->isFullResolution());
        const QRect bound = m_pane->getActualImageBound();
        QTest::mouseClick(m_pane, Qt::LeftButton, Qt::NoModifier, bound.center() - QPoint(100, 0));
        QTest::mouseClick(m_pane, Qt::LeftButton, Qt::NoModifier, bound.center());
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
        QCOMPARE(m_markers.keys(), QStringList{"B"});
    }

    void navigationEndsWithoutWrap()
    {
        for (int i = 0; i < 3; ++i)
            m_markers[QStringLiteral("A")] << GcpMarker{QString(), m_photos.at(i), QPoint(10, 10), 1};
        m_marking->setSelectedGcp(QStringLiteral("A"));
        m_marking->openImage(m_photos.at(0));
        QTest::keyClick(m_pane, Qt::Key_PageDown);
        QTest::keyClick(m_pane, Qt::Key_PageDown);
        QCOMPARE(m_marking->currentImage(), m_photos.at(2));
        QVERIFY(!m_marking->findChild<QToolButton*>(QStringLiteral("button_next"))->isEnabled());
        QCOMPARE(m_marking->findChild<QLabel*>(QStringLiteral("label_nav_info"))->text(), QStringLiteral("3 of 3"));
        QTest::keyClick(m_pane, Qt::Key_PageDown);
        QCOMPARE(m_marking->currentImage(), m_photos.at(2));
        // Deleting on the last marked photo steps back first.
        QSignalSpy deleted(m_marking.data(), &MarkerEditor::markerDeleted);
        QTest::mouseClick(m_marking->findChild<QPushButton*>(QStringLiteral("button_delete_marker")), Qt::LeftButton);
        QCOMPARE(deleted.takeFirst().at(0).toString(), m_photos.at(2));
        QCOMPARE(m_marking->currentImage(), m_photos.at(1));
        QCOMPARE(m_markers.value(QStringLiteral("A")).size(), 2);
        QTest::keyClick(m_pane, Qt::Key_Escape);
        QVERIFY(m_marking->isShowingThumbnails());
    }

    void deletingTheOnlyMarkerReturns()
    {
        m_markers[QStringLiteral("A")] << GcpMarker{QString(), m_photos.at(1), QPoint(10, 10), 1};
        m_marking->setSelectedGcp(QStringLiteral("A"));
        m_marking->openImage(m_photos.at(1));
        QSignalSpy returned(m_marking.data(), &MarkerEditor::returnButtonClicked);
        QTest::mouseClick(m_marking->findChild<QPushButton*>(QStringLiteral("button_delete_marker")), Qt::LeftButton);
        QCOMPARE(returned.count(), 1);
        QVERIFY(m_marking->isShowingThumbnails());
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
        m_gcps.insert(name, point(name, 0, 0));
        for (int i = 0; i < markers; ++i)
            m_markers[name] << GcpMarker{QString(), m_photos.at(i), QPoint(5, 5), 1};
        m_marking->setSelectedGcp(name);
        QCOMPARE(m_marking->findChild<QLabel*>(QStringLiteral("label_gcp_info"))->text(), text);
    }

    void openingWithoutPointSaysSo()
    {
        m_marking->openImage(m_photos.at(0));
        QCOMPARE(m_dialogs.size(), 1);
        QCOMPARE(m_dialogs.first().mainText, QStringLiteral("Select or add a Ground Control Point."));
        QVERIFY(m_marking->isShowingThumbnails());
    }

    void filterPassingNothingCountsAll()
    {
        PhotoGeoCache cache;
        m_marking->setGeoCache(&cache);
        m_marking->setSelectedGcp(QStringLiteral("A")); // no position: nothing can be near it
        QSignalSpy filtered(m_marking.data(), &MarkerEditor::afterGPSFiltered);
        m_marking->findChild<QCheckBox*>(QStringLiteral("checkBox_filterByGps"))->setChecked(true);
        QVERIFY(filtered.wait());
        QCOMPARE(filtered.first().at(0).toInt(), 0);
        QCOMPARE(m_marking->findChild<QLabel*>("label_image_info")->text(), QString("Displaying images: 4 of 4"));
    }

    // Assisted marking on a generated flight: nothing becomes a marker without the surveyor's key or click.
    void assistKeysAndClicksDecide()
    {
        openFlight(false);
        // The surveyor's mark, at the true pixel of the first photo showing the point.
        const QPointF truth = m_truth.pixelsOf(m_point).value(QFileInfo(m_flight.first()).fileName());
        const QPoint pixel(int(std::floor(truth.x())), int(std::floor(truth.y())));
        m_marking->openImage(m_flight.first());
        QTRY_VERIFY(m_pane->isFullResolution());
        m_pane->centreOn(QPointF(pixel), m_pane->closeScale());
        QTest::mouseClick(m_pane, Qt::LeftButton, Qt::NoModifier, m_pane->getLocalPoint(pixel));
        MarkSuggester* assist = m_marking->assist();
        QTRY_VERIFY_WITH_TIMEOUT(assist->suggestedPhotos(m_point).size() >= 4 && !assist->isBusy(), 20000);
        // Suggestions wait; the marker map holds only the surveyor's mark.
        QCOMPARE(m_markers.value(m_point).size(), 1);

        QStringList waiting = assist->suggestedPhotos(m_point);
        // Enter accepts on the open photo and moves to the next suggestion.
        m_marking->openImage(waiting.at(0));
        const MarkSuggestion s = assist->suggestion(m_point, waiting.at(0));
        QTest::keyClick(m_pane, Qt::Key_Return);
        QCOMPARE(markerOn(waiting.at(0)), QPoint(qRound(s.pixel.x()), qRound(s.pixel.y())));
        QCOMPARE(m_marking->currentImage(), waiting.at(1));
        // Delete rejects: no marker, and the photo is not offered again.
        QTest::keyClick(m_pane, Qt::Key_Delete);
        QCOMPARE(markerOn(waiting.at(1)), QPoint(-1, -1));
        QVERIFY(!assist->hasSuggestion(m_point, waiting.at(1)));
        // A click on a suggestion takes its pixel, not the clicked one.
        m_marking->openImage(waiting.at(2));
        QTRY_VERIFY(m_pane->isFullResolution());
        const QPoint suggested = m_pane->suggestionPixel();
        m_pane->centreOn(QPointF(suggested), 1.0);
        QTest::mouseClick(m_pane, Qt::LeftButton, Qt::NoModifier, m_pane->getLocalPoint(suggested) + QPoint(3, -2));
        QCOMPARE(markerOn(waiting.at(2)), suggested);

        // New marks search again; the rejected photo stays rejected.
        QTRY_VERIFY_WITH_TIMEOUT(!assist->isBusy(), 20000);
        QVERIFY(!assist->hasSuggestion(m_point, waiting.at(1)));
        // "Accept all above" shows its count first and takes just those.
        AssistBar* bar = m_marking->assistBar();
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
        QTest::mouseClick(m_marking->assistBar()->detectButton(), Qt::LeftButton);
        MarkSuggester* assist = m_marking->assist();
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
        for (const auto& t : m_truth.points)
            m_gcps.insert(t.name, point(t.name, t.x, t.y, t.z));
        // The point seen on the most photos.
        m_point = m_truth.points.first().name;
        for (const auto& t : m_truth.points)
            if (m_truth.pixelsOf(t.name).size() > m_truth.pixelsOf(m_point).size())
                m_point = t.name;
        m_marking->setGeoCache(&m_cache);
        m_marking->setFiles(m_flight);
        m_marking->setCoordSys(GcpCoordSysInfo(m_truth.crs, m_truth.crs, m_truth.crs.mid(5), 1, "WGS 84", 0));
        m_marking->setSelectedGcp(m_point);
        // The first photo in order that shows the point goes first.
        const QHash<QString, QPointF> truth = m_truth.pixelsOf(m_point);
        std::stable_partition(m_flight.begin(), m_flight.end(),
                              [&](const QString& p) { return truth.contains(QFileInfo(p).fileName()); });
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
    Zyn::TestSupport::DialogRecorder m_dialogs;
    QScopedPointer<GcpInfoEditor> m_info;
    QTableWidget* m_table = nullptr;
    MarkerMap m_markers;
    GcpMap m_gcps;
    PhotoGeoCache m_cache;
    QScopedPointer<QTemporaryDir> m_flightDir;
    QStringList m_flight;
    Zyn::Tools::TargetTruth m_truth;
    QString m_point;
    QScopedPointer<MarkerEditor> m_marking;
    ImagePane* m_pane = nullptr;
};

QTEST_MAIN(GcpWorkflowTest)
#include "tst_gcpworkflow.moc"
