#include "TestPhotos.h"

#include <support/TestSupport.h>

#include <appcreate/PhotoPreview.h>
#include <appcreate/PhotoTileDelegate.h>
#include <keelcore/Dispatch.h>
#include <uibase/FileDialog.h>
#include <uitoolkit/LocalImageFileItem.h>
#include <uitoolkit/ThumbnailDelegate.h>
#include <uitoolkit/ThumbnailListModel.h>
#include <uitoolkit/ThumbnailLoader.h>
#include <uitoolkit/ThumbnailPlaceholder.h>
#include <uitoolkit/ThumbnailProxyModel.h>
#include <uitoolkit/ThumbnailView.h>

#include <QtTest>
#include <QtWidgets>

using Zyn::AppCreate::PhotoPreview;
using Zyn::AppCreate::PhotoTileDelegate;
using Zyn::UiBase::FileDialog;
using Zyn::UiToolkit::IThumbnailItem;
using Zyn::UiToolkit::LocalImageFileItem;
using Zyn::UiToolkit::ThumbnailDelegate;
using Zyn::UiToolkit::ThumbnailListModel;
using Zyn::UiToolkit::ThumbnailLoader;

class TestPhotoPreview : public QObject {
    Q_OBJECT
private:
    QTemporaryDir m_dir;

    QString at(const QString& relative) const { return QDir::cleanPath(m_dir.filePath(relative)); }

    static QPushButton* button(PhotoPreview& canvas, const char* name)
    {
        return canvas.findChild<QPushButton*>(QLatin1String(name));
    }

    static QString countText(PhotoPreview& canvas)
    {
        return canvas.findChild<QLabel*>(QStringLiteral("count_label"))->text();
    }

    static QRect tileOf(PhotoPreview& canvas, const QString& path)
    {
        auto* proxy = canvas.proxyModel();
        const QModelIndexList hits =
            proxy->match(proxy->index(0, 0), ThumbnailListModel::PathRole, path, 1, Qt::MatchExactly);
        return hits.isEmpty() ? QRect() : canvas.thumbnailView()->visualRect(hits.first());
    }

    static int countInState(PhotoPreview& canvas, IThumbnailItem::State state)
    {
        int count = 0;
        for (const QString& path : canvas.getFiles())
            count += canvas.item(path)->state() == state ? 1 : 0;
        return count;
    }

    // Sends a drag entering target (the canvas or a widget inside it) and,
    // when accepted, the drop. The application passes drag events up to the
    // first parent that accepts drops, as it does for a real drag.
    static bool drop(QWidget* target, const QList<QUrl>& urls)
    {
        QMimeData mime;
        mime.setUrls(urls);
        const QPoint pos(target->width() / 2, target->height() / 2);
        QDragEnterEvent enter(pos, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &enter);
        if (!enter.isAccepted())
            return false;
        QDropEvent dropEvent(pos, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &dropEvent);
        return dropEvent.isAccepted();
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        for (const char* dir : {"flight/sub/deeper", "flight/.cache", "loose", "bad"})
            QVERIFY(QDir(m_dir.path()).mkpath(dir));
        // Hidden entries (.cache, ._ files) are not the user's photos.
        const struct { const char* path; int seed; bool thumbnail; } photos[] = {
            {"flight/IMG_1.jpg", 1, true}, {"flight/IMG_2.JPG", 2, false}, {"flight/IMG_10.jpeg", 3, true},
            {"flight/sub/deeper/IMG_3.jpg", 5, false}, {"flight/.cache/IMG_4.jpg", 6, false},
            {"loose/single1.jpg", 11, true}, {"loose/single2.jpg", 12, false}, {"loose/single3.jpg", 13, true},
            {"loose/single4.jpg", 14, false}, {"bad/cut.jpg", 20, true}};
        for (const auto& p : photos)
            QVERIFY(TestPhotos::writePhoto(at(p.path), QSize(640, 480), p.seed, p.thumbnail));
        QVERIFY(TestPhotos::makePicture(QSize(300, 200), 4).save(at("flight/sub/overview.png")));
        for (const char* corrupt : {"flight/._IMG_1.jpg", "loose/broken.jpg", "bad/broken.jpg"})
            QVERIFY(TestPhotos::writeCorrupt(at(corrupt)));
        for (const char* text : {"flight/notes.txt", "loose/readme.txt", "bad/notes.jpg"})
            QVERIFY(Zyn::TestSupport::writeFile(at(text), "flight log\n"));
        QVERIFY(Zyn::TestSupport::writeFile(at("bad/empty.jpg"), QByteArray()));
        // A photo with its EXIF thumbnail, cut where its own image data begins:
        // the last start of scan is the photo's, the thumbnail's comes earlier.
        const QByteArray bytes = Zyn::TestSupport::readFile(at("bad/cut.jpg"));
        const int scan = bytes.lastIndexOf("\xFF\xDA");
        QVERIFY(scan > bytes.indexOf("\xFF\xDA"));
        QVERIFY(Zyn::TestSupport::writeFile(at("bad/cut.jpg"), bytes.left(scan)));
    }

    void init()
    {
        ThumbnailLoader::instance()->setPaused(false);
        QVERIFY(KeelCore::waitForIdle());
    }

    void cleanup() { FileDialog::clearHandler(); }

    // The folder photos were last added from is where the next browse
    // starts, also in a new session; a folder since removed gives its parent.
    void browseStartsWhereTheLastPhotosCameFrom()
    {
        QSettings().remove(QStringLiteral("Canvas/LastPhotoFolder"));
        QTemporaryDir gone;
        const QString lastFolder = gone.filePath(QStringLiteral("flight 2"));
        QVERIFY(QDir().mkpath(lastFolder));
        QStringList starts;
        QStringList answer{QDir(lastFolder).filePath(QStringLiteral("IMG_9.jpg"))};
        FileDialog::setHandler([&](const FileDialog::Request& r) {
            starts << r.directory;
            return answer;
        });
        PhotoPreview().browseForPhotos();
        answer.clear();
        PhotoPreview nextSession;
        nextSession.browseForPhotos();
        QVERIFY(QDir(lastFolder).removeRecursively());
        nextSession.browseForPhotos();
        QCOMPARE(starts.mid(1), QStringList({lastFolder, gone.path()}));
        QVERIFY(KeelCore::waitForIdle());
    }

    void addPhotosButtonTakesFilesAndFolders()
    {
        PhotoPreview canvas;
        QVERIFY(Zyn::TestSupport::showExposed(&canvas, QSize(900, 600)));
        QList<FileDialog::Request> requests;
        FileDialog::setHandler([&](const FileDialog::Request& request) {
            requests << request;
            return QStringList({at("loose/single1.jpg"), at("flight")});
        });
        QSignalSpy added(&canvas, &PhotoPreview::filesAdded);
        QSignalSpy selection(&canvas, &PhotoPreview::selectionChanged);
        QTest::mouseClick(button(canvas, "add_photos_button"), Qt::LeftButton);

        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests.first().mode, FileDialog::OpenFilesAndFolders);
        QCOMPARE(requests.first().parent, &canvas);
        // The folder is searched on a worker: the click returns before the photos arrive.
        QCOMPARE(added.count(), 0);
        QCOMPARE(canvas.pendingFolderSearches(), 1);
        QCOMPARE(canvas.findChild<QLabel*>(QStringLiteral("notice_label"))->text(),
                 QString("Searching folders for photos..."));
        QTRY_COMPARE(added.count(), 1);
        QCOMPARE(canvas.pendingFolderSearches(), 0);
        // The folder is searched recursively for photos of any letter case; the text file is left out.
        const QStringList expected = {at("loose/single1.jpg"), at("flight/IMG_1.jpg"), at("flight/IMG_2.JPG"),
                                      at("flight/IMG_10.jpeg"), at("flight/sub/deeper/IMG_3.jpg"),
                                      at("flight/sub/overview.png")};
        QCOMPARE(added.first().first().toStringList(), expected);
        QVERIFY(selection.count() >= 1);
        QVERIFY(canvas.noticeText().isEmpty());
        QCOMPARE(countText(canvas), QString("6 photos, 6 included"));
        // Display order is by name, numbers by value.
        QCOMPARE(canvas.getFiles(),
                 QStringList({at("flight/IMG_1.jpg"), at("flight/IMG_2.JPG"), at("flight/sub/deeper/IMG_3.jpg"),
                              at("flight/IMG_10.jpeg"), at("flight/sub/overview.png"), at("loose/single1.jpg")}));
        QCOMPARE(canvas.getSelectedFiles(), canvas.getFiles());

        QTRY_COMPARE(countInState(canvas, IThumbnailItem::Ready), 6);

        // Cancelling the dialog changes nothing.
        FileDialog::setHandler([](const FileDialog::Request&) { return QStringList(); });
        QTest::mouseClick(button(canvas, "add_photos_button"), Qt::LeftButton);
        QCOMPARE(added.count(), 1);
        QCOMPARE(canvas.fileCount(), 6);
    }

    void droppedFilesAndFoldersAreAdded()
    {
        PhotoPreview canvas;
        QVERIFY(Zyn::TestSupport::showExposed(&canvas, QSize(900, 600)));
        QSignalSpy added(&canvas, &PhotoPreview::filesAdded);
        // Nothing local to drop: the drag is refused.
        QVERIFY(!drop(&canvas, {QUrl("https://example.org/photo.jpg")}));
        QCOMPARE(added.count(), 0);

        QVERIFY(drop(&canvas, {QUrl::fromLocalFile(at("flight/sub")), QUrl::fromLocalFile(at("loose/single2.jpg")),
                              QUrl::fromLocalFile(at("loose/readme.txt"))}));
        QTRY_COMPARE(added.count(), 1);
        QCOMPARE(added.first().first().toStringList(),
                 QStringList({at("flight/sub/deeper/IMG_3.jpg"), at("flight/sub/overview.png"),
                              at("loose/single2.jpg")}));
        QCOMPARE(canvas.noticeText(), QString("Skipped: 1 not a photo"));
        QTRY_COMPARE(countInState(canvas, IThumbnailItem::Ready), 3);

        // Dropped onto the tiles themselves, the photos still reach the canvas.
        QVERIFY(drop(canvas.thumbnailView()->viewport(), {QUrl::fromLocalFile(at("loose/single3.jpg"))}));
        QCOMPARE(added.count(), 2);
        QCOMPARE(added.last().first().toStringList(), QStringList({at("loose/single3.jpg")}));
    }

    void duplicatesAreSkipped()
    {
        PhotoPreview canvas;
        QSignalSpy added(&canvas, &PhotoPreview::filesAdded);
        QCOMPARE(canvas.addFiles({at("loose/single1.jpg"), at("loose/single1.jpg")}).size(), 1);
        QCOMPARE(canvas.noticeText(), QString("Skipped: 1 already added"));
        // The same file spelled another way, and inside a folder with a new one.
        const QStringList second =
            canvas.addFiles({m_dir.path() + "/loose/../loose/single1.jpg", at("flight/sub/deeper"),
                             at("flight/sub/deeper/IMG_3.jpg"), at("loose/nothing_here.jpg")});
        QCOMPARE(second, QStringList({at("flight/sub/deeper/IMG_3.jpg")}));
        QCOMPARE(canvas.noticeText(), QString("Skipped: 2 already added, 1 not found"));
        // A batch with nothing new emits nothing.
        QVERIFY(canvas.addFiles({at("loose/single1.jpg")}).isEmpty());
        QCOMPARE(added.count(), 2);
        QCOMPARE(canvas.fileCount(), 2);
    }

    void tiffAndPngPhotosAreDecoded()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QVERIFY2(TestPhotos::makePicture(QSize(400, 300), 7).save(dir.filePath("ortho.TIFF"), "TIFF"),
                 "TIFF support needs Qt's image format plug-ins (qt5-image-formats-plugins)");
        QVERIFY(TestPhotos::makePicture(QSize(300, 400), 8).save(dir.filePath("tall.tif"), "TIFF"));
        QVERIFY(TestPhotos::makePicture(QSize(320, 240), 9).save(dir.filePath("shot.png"), "PNG"));
        PhotoPreview canvas;
        QCOMPARE(canvas.addFiles({dir.path()}).size(), 3);
        QTRY_COMPARE(countInState(canvas, IThumbnailItem::Ready), 3);
        const QHash<QString, QImage> thumbnails = canvas.getThumbnailData();
        QCOMPARE(thumbnails.value(QDir::cleanPath(dir.filePath("ortho.TIFF"))).size(), QSize(160, 120));
        // Portrait photos keep their shape.
        QCOMPARE(thumbnails.value(QDir::cleanPath(dir.filePath("tall.tif"))).size(), QSize(90, 120));
    }

    void unreadablePhotoIsLeftOut_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty file") << "empty.jpg";
        QTest::newRow("text named as a photo") << "notes.jpg";
        QTest::newRow("cut before the image data") << "cut.jpg";
        QTest::newRow("garbage after the JPEG marker") << "broken.jpg";
    }

    void unreadablePhotoIsLeftOut()
    {
        QFETCH(QString, name);
        PhotoPreview canvas;
        QVERIFY(Zyn::TestSupport::showExposed(&canvas, QSize(900, 600)));
        const QString bad = at("bad/" + name);
        const QString good = at("loose/single3.jpg");
        canvas.addFiles({bad, good});
        QTRY_COMPARE(canvas.item(bad)->state(), IThumbnailItem::Failed);
        QTRY_COMPARE(canvas.item(good)->state(), IThumbnailItem::Ready);
        // Left out by itself; still on the canvas, so the user sees why.
        QCOMPARE(canvas.getSelectedFiles(), QStringList{good});
        QCOMPARE(countText(canvas), QString("2 photos, 1 included, 1 cannot be read"));
        QCOMPARE(canvas.unreadableFiles().size(), 1);
        QCOMPARE(canvas.unreadableFiles().first().path, bad);
        const QString reason = canvas.item(bad)->errorText();
        QVERIFY(!reason.isEmpty());
        QCOMPARE(canvas.unreadableFiles().first().reason, reason);
        const QModelIndex index = canvas.proxyModel()->index(canvas.getFiles().indexOf(bad), 0);
        QCOMPARE(PhotoTileDelegate::toolTip(index), QString("Cannot read this photo: %1\n%2").arg(reason, bad));

        // Its check box cannot take it back into the project.
        const QRect tile = tileOf(canvas, bad);
        QTest::mouseClick(canvas.thumbnailView()->viewport(), Qt::LeftButton, Qt::NoModifier,
                          ThumbnailDelegate::checkBoxRect(tile).center());
        QCOMPARE(canvas.getSelectedFiles(), QStringList{good});
        // The tile wears the warning badge over the broken-photo picture.
        const QImage shot = canvas.thumbnailView()->viewport()->grab().toImage();
        const QRect area = ThumbnailDelegate::imageRect(tile);
        QCOMPARE(QColor(shot.pixel(area.right() - 20, area.top() + 20)), QColor(255, 190, 0));
        const QImage placeholder =
            Zyn::UiToolkit::ThumbnailPlaceholder::failedImage(ThumbnailLoader::thumbnailSize());
        const QPoint probe(area.width() - 6, area.height() - 4);
        QCOMPARE(QColor(shot.pixel(area.topLeft() + probe)), QColor(placeholder.pixel(probe)));
    }

    void checkBoxesDecideWhatIsIncluded_data()
    {
        QTest::addColumn<int>("box"); // the tile whose check box is clicked; -1: the Space key instead
        QTest::addColumn<QString>("included"); // tiles included afterwards
        QTest::newRow("Space") << -1 << "1,3";
        QTest::newRow("box of a highlighted tile") << 0 << "1,3";
        QTest::newRow("box of a tile not highlighted") << 1 << "0,2,3";
    }

    void checkBoxesDecideWhatIsIncluded()
    {
        QFETCH(int, box);
        QFETCH(QString, included);
        PhotoPreview canvas;
        QVERIFY(Zyn::TestSupport::showExposed(&canvas, QSize(900, 600)));
        canvas.addFiles({at("loose/single1.jpg"), at("loose/single2.jpg"), at("loose/single3.jpg"),
                         at("loose/single4.jpg")});
        const QStringList files = canvas.getFiles();
        QSignalSpy create(&canvas, &PhotoPreview::createRequested);
        QWidget* viewport = canvas.thumbnailView()->viewport();
        QTRY_VERIFY(tileOf(canvas, files.at(3)).isValid());
        // Highlighted in display order, whatever the order of the clicks.
        QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier, tileOf(canvas, files.at(2)).center());
        QTest::mouseClick(viewport, Qt::LeftButton, Qt::ControlModifier, tileOf(canvas, files.at(0)).center());
        const QStringList highlighted{files.at(0), files.at(2)};
        QCOMPARE(canvas.highlightedFiles(), highlighted);
        // Highlighting is not excluding.
        QCOMPARE(countText(canvas), QString("4 photos, 4 included"));

        const auto act = [&] {
            if (box < 0)
                QTest::keyClick(canvas.thumbnailView(), Qt::Key_Space);
            else
                QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier,
                                  ThumbnailDelegate::checkBoxRect(tileOf(canvas, files.at(box))).center());
        };
        act();
        QStringList expected;
        for (const QString& row : included.split(','))
            expected << files.at(row.toInt());
        QCOMPARE(canvas.getSelectedFiles(), expected);
        QCOMPARE(countText(canvas), QString("4 photos, %1 included").arg(expected.size()));
        QCOMPARE(qMakePair(canvas.fileCount(), canvas.selectedFileCount()), qMakePair(4, int(expected.size())));
        QCOMPARE(canvas.highlightedFiles(), highlighted);
        act();
        QCOMPARE(canvas.getSelectedFiles(), files);

        // Remove takes the highlighted photos, whether included or not.
        canvas.setFileSelected(files.at(2), false);
        canvas.setFileSelected(files.at(3), false);
        QSignalSpy removed(&canvas, &PhotoPreview::filesRemoved);
        QSignalSpy selection(&canvas, &PhotoPreview::selectionChanged);
        QTest::mouseClick(button(canvas, "remove_button"), Qt::LeftButton);
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.first().first().toStringList(), highlighted);
        QCOMPARE(canvas.getFiles(), QStringList({files.at(1), files.at(3)}));
        QCOMPARE(countText(canvas), QString("2 photos, 1 included"));
        QVERIFY(selection.count() >= 1);
        QVERIFY(!button(canvas, "remove_button")->isEnabled());
        // Nothing included: Create is off.
        canvas.setFileSelected(files.at(1), false);
        QVERIFY(!button(canvas, "create_button")->isEnabled());
        canvas.setFileSelected(files.at(1), true);
        // The Delete key removes too; one photo reads as singular.
        QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier, tileOf(canvas, files.at(3)).center());
        QTest::keyClick(canvas.thumbnailView(), Qt::Key_Delete);
        QCOMPARE(canvas.getFiles(), QStringList{files.at(1)});
        QCOMPARE(countText(canvas), QString("1 photo, 1 included"));
        QTest::mouseClick(button(canvas, "create_button"), Qt::LeftButton);
        QCOMPARE(create.count(), 1);
    }

    void dropInvitationShowsOnlyWhenAllowedAndEmpty()
    {
        PhotoPreview canvas;
        QVERIFY(Zyn::TestSupport::showExposed(&canvas, QSize(900, 600)));
        QVERIFY(!canvas.isDragNDropWidgetVisible());
        canvas.SetCanDragNDropWidgetBeVisible(true);
        auto* label = canvas.findChild<QLabel*>(QStringLiteral("drop_label"));
        QVERIFY(label && label->isVisible());
        QCOMPARE(label->text(), QString("Drag and drop photos or folders here"));

        canvas.addFiles({at("loose/single1.jpg")});
        QVERIFY(!canvas.isDragNDropWidgetVisible());
        QVERIFY(canvas.thumbnailView()->isVisible());
        canvas.clear();
        QVERIFY(canvas.isDragNDropWidgetVisible());
        canvas.SetCanDragNDropWidgetBeVisible(false);
        QVERIFY(!canvas.isDragNDropWidgetVisible());
    }

    void itemFactoryDecidesWhatIsAccepted()
    {
        PhotoPreview canvas;
        int created = 0;
        QStringList validated;
        canvas.setItemFactory(
            [&created](const QString& path) -> PhotoPreview::ItemPtr {
                ++created;
                if (path.endsWith("single4.jpg"))
                    return PhotoPreview::ItemPtr();
                return PhotoPreview::ItemPtr(new LocalImageFileItem(path));
            },
            [&validated](PhotoPreview::ItemPtr item) {
                validated << item->path();
                return !item->path().endsWith("single2.jpg");
            });
        QSignalSpy added(&canvas, &PhotoPreview::filesAdded);
        const QStringList accepted =
            canvas.addFiles({at("loose/single1.jpg"), at("loose/single2.jpg"), at("loose/single4.jpg")});
        QCOMPARE(created, 3);
        // The refused path never reaches the validator.
        QCOMPARE(validated, QStringList({at("loose/single1.jpg"), at("loose/single2.jpg")}));
        QCOMPARE(accepted, QStringList({at("loose/single1.jpg")}));
        QCOMPARE(added.first().first().toStringList(), accepted);
        QVERIFY(!canvas.item(at("loose/single2.jpg")));
        QVERIFY(!canvas.item(at("loose/single4.jpg")));
        QCOMPARE(canvas.noticeText(), QString("Skipped: 2 not accepted"));
        // A photo already on the canvas is not offered to the factory again.
        QVERIFY(canvas.addFiles({at("loose/single1.jpg")}).isEmpty());
        QCOMPARE(created, 3);
        QCOMPARE(canvas.noticeText(), QString("Skipped: 1 already added"));

        // Back to the defaults: every local photo is accepted.
        canvas.setItemFactory(nullptr, nullptr);
        QCOMPARE(canvas.addFiles({at("loose/single2.jpg"), at("loose/single4.jpg")}).size(), 2);
        QVERIFY(qobject_cast<LocalImageFileItem*>(canvas.item(at("loose/single4.jpg")).data()));
    }

    void removingPhotosWhileTheyLoad()
    {
        PhotoPreview canvas;
        QVERIFY(Zyn::TestSupport::showExposed(&canvas, QSize(900, 600)));
        auto* loader = ThumbnailLoader::instance();
        QStringList started, finished;
        // The user empties the canvas as soon as the first decode is on a worker.
        connect(loader, &ThumbnailLoader::loadStarted, &canvas, [&](const QString& path) {
            started << path;
            if (canvas.fileCount() > 0)
                canvas.clear();
        });
        connect(loader, &ThumbnailLoader::loadFinished, &canvas,
                [&finished](const QString& path) { finished << path; });
        QSignalSpy removed(&canvas, &PhotoPreview::filesRemoved);
        canvas.addFiles({at("loose"), at("flight")});
        QTRY_COMPARE(removed.count(), 1);
        QCOMPARE(canvas.fileCount(), 0);
        QVERIFY(KeelCore::waitForIdle());
        QTRY_VERIFY(loader->isIdle());
        // The one decode that had started came back and was dropped; the
        // removed photos' queued requests never started.
        QCOMPARE(started.size(), 1);
        QCOMPARE(finished, started);
        QCOMPARE(canvas.selectedFileCount(), 0);

        // The canvas works as before.
        disconnect(loader, nullptr, &canvas, nullptr);
        canvas.addFiles({at("loose/single1.jpg")});
        QVERIFY(canvas.item(at("loose/single1.jpg")));
        QTRY_COMPARE(canvas.item(at("loose/single1.jpg"))->state(), IThumbnailItem::Ready);
    }

    void flyoutIsKeptWeakly()
    {
        PhotoPreview canvas;
        QVERIFY(!canvas.getFlyout());
        auto* flyout = new QDialog(&canvas);
        canvas.SetFlyout(flyout);
        QCOMPARE(canvas.getFlyout(), flyout);
        delete flyout;
        QVERIFY(!canvas.getFlyout());
    }
};

QTEST_MAIN(TestPhotoPreview)
#include "tst_photopreview.moc"
