// The UI toolkit: the photo list (model, sorting and filtering proxy, and
// the view over them), and photos read from disk (thumbnails through the
// shared loader, and the zoomable full view).
#include "TestPhotos.h"

#include <keelcore/Dispatch.h>
#include <support/TestSupport.h>
#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/LocalImageFileItem.h>
#include <uitoolkit/ThumbnailDelegate.h>
#include <uitoolkit/ThumbnailListModel.h>
#include <uitoolkit/ThumbnailLoader.h>
#include <uitoolkit/ThumbnailPlaceholder.h>
#include <uitoolkit/ThumbnailProxyModel.h>
#include <uitoolkit/ThumbnailView.h>
#include <uitoolkit/ZoomableImgWidget.h>

#include <QtTest>
#include <QtWidgets>

#include <cmath>
#include <memory>
#include <vector>

using namespace Zyn::UiToolkit;
using ItemPtr = QSharedPointer<IThumbnailItem>;

namespace {

// An item whose state the test sets by hand; counts thumbnail requests.
class FakeThumbnailItem : public IThumbnailItem {
    Q_OBJECT
public:
    explicit FakeThumbnailItem(const QString& path) : m_path(path) {}

    QString path() const override { return m_path; }
    QString displayName() const override { return QFileInfo(m_path).fileName(); }
    State state() const override { return m_state; }
    QImage thumbnail() const override { return m_image; }
    void requestThumbnail(Priority priority) override
    {
        ++requests;
        lastPriority = priority;
    }

    // Ready, with a thumbnail of size in one colour.
    void finish(const QSize& size, const QColor& color)
    {
        m_image = QImage(size, QImage::Format_RGB32);
        m_image.fill(color);
        m_state = Ready;
        emit thumbnailChanged();
    }

    int requests = 0;
    Priority lastPriority = Background;

private:
    QString m_path;
    State m_state = Loading;
    QImage m_image;
};

QVector<ItemPtr> fakes(const QStringList& paths)
{
    QVector<ItemPtr> items;
    for (const QString& path : paths)
        items << ItemPtr(new FakeThumbnailItem(path));
    return items;
}

// A shown view over count fake photos.
struct Shown {
    ThumbnailListModel model;
    ThumbnailView view;
    QVector<FakeThumbnailItem*> items;

    bool open(const QSize& size, int count)
    {
        view.setModel(&model);
        if (!Zyn::TestSupport::showExposed(&view, size))
            return false;
        QVector<ItemPtr> batch;
        for (int i = 0; i < count; ++i) {
            items << new FakeThumbnailItem(QString("/photos/p%1.jpg").arg(i, 4, 10, QChar('0')));
            batch << ItemPtr(items.last());
        }
        model.appendItems(batch);
        return QTest::qWaitFor([this] { return view.visualRect(model.index(model.rowCount() - 1)).isValid(); });
    }
    QRect tile(int row) const { return view.visualRect(model.index(row)); }
    void click(const QPoint& at) { QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, at); }
};

// The pictures are covered in one colour each: the centre tells which one a thumbnail came from.
QColor centre(const QImage& image)
{
    return image.pixelColor(image.width() / 2, image.height() / 2);
}
} // namespace

class TestUiToolkit : public QObject {
    Q_OBJECT
private:
    QTemporaryDir m_dir;
    QString m_photo; // for the full view, 800x400 with an EXIF thumbnail
    QString file(const QString& name) const { return m_dir.filePath(name); }
    ThumbnailLoader* loader() const { return ThumbnailLoader::instance(); }
    // What a new item of path shows once loaded at visible priority; null if it never gets ready.
    static QImage loaded(const QString& path)
    {
        LocalImageFileItem item(path);
        item.requestThumbnail(IThumbnailItem::Visible);
        return QTest::qWaitFor([&item] { return item.state() == IThumbnailItem::Ready; }) ? item.thumbnail() : QImage();
    }
    // Shows w at size with the photo; true once the photo is decoded at full resolution.
    bool showPhoto(ZoomableImgWidget& w, const QSize& size)
    {
        w.resize(size);
        w.show();
        w.loadImage(m_photo);
        return QTest::qWaitFor([&w] { return w.isFullResolution(); });
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_dir.isValid());
        m_photo = file("photo.jpg");
        QVERIFY(TestPhotos::writePhoto(m_photo, QSize(800, 400), 3, true));
    }

    void init()
    {
        loader()->setPaused(false);
        loader()->setMaxInFlight(4);
        loader()->clearCache();
        QVERIFY(KeelCore::waitForIdle());
    }

    void appendSkipsDuplicatesAndNulls()
    {
        ThumbnailListModel model;
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QVector<ItemPtr> batch = fakes({"/p/a.jpg", "/p/b.jpg", "/p/a.jpg"});
        batch.insert(1, ItemPtr());
        QCOMPARE(model.appendItems(batch).size(), 2);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(model.paths(), QStringList({"/p/a.jpg", "/p/b.jpg"}));

        // A second batch with one known and one new path.
        const QVector<ItemPtr> again = model.appendItems(fakes({"/p/b.jpg", "/p/c.jpg"}));
        QCOMPARE(again.size(), 1);
        QCOMPARE(again.first()->path(), QString("/p/c.jpg"));

        // Nothing new: no rows inserted.
        inserted.clear();
        QVERIFY(model.appendItems(fakes({"/p/a.jpg"})).isEmpty());
        QCOMPARE(inserted.count(), 0);
    }

    void removeScatteredRowsKeepsIndexConsistent()
    {
        ThumbnailListModel model;
        model.appendItems(fakes({"/p/0.jpg", "/p/1.jpg", "/p/2.jpg", "/p/3.jpg", "/p/4.jpg", "/p/5.jpg"}));
        model.setChecked("/p/1.jpg", false);
        QCOMPARE(model.checkedCount(), 5);
        QSignalSpy removedRows(&model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy checked(&model, &ThumbnailListModel::checkedChanged);

        const QStringList removed = model.removePaths({"/p/4.jpg", "/p/1.jpg", "/p/2.jpg", "/p/nope.jpg", "/p/4.jpg"});
        QCOMPARE(removed, QStringList({"/p/1.jpg", "/p/2.jpg", "/p/4.jpg"}));
        // Rows 1-2 and 4 are two runs.
        QCOMPARE(removedRows.count(), 2);
        QCOMPARE(model.paths(), QStringList({"/p/0.jpg", "/p/3.jpg", "/p/5.jpg"}));
        for (int row = 0; row < model.rowCount(); ++row)
            QCOMPARE(model.rowOf(model.paths().at(row)), row);
        QVERIFY(!model.contains("/p/4.jpg"));
        // 1.jpg was unchecked: two checked photos went away.
        QCOMPARE(model.checkedCount(), 3);
        QCOMPARE(checked.count(), 1);
        // The removed path can come back.
        QCOMPARE(model.appendItems(fakes({"/p/1.jpg"})).size(), 1);
        QCOMPARE(model.rowOf("/p/1.jpg"), 3);
    }

    void checkStateToggles()
    {
        ThumbnailListModel model;
        model.appendItems(fakes({"/p/a.jpg", "/p/b.jpg"}));
        QSignalSpy checked(&model, &ThumbnailListModel::checkedChanged);
        QVERIFY(model.setData(model.index(0), Qt::Unchecked, Qt::CheckStateRole));
        QVERIFY(!model.isChecked(0));
        // Setting the same state again is not a change.
        QVERIFY(model.setData(model.index(0), Qt::Unchecked, Qt::CheckStateRole));
        QCOMPARE(checked.count(), 1);
        QVERIFY(!model.setData(model.index(0), "x", Qt::DisplayRole));
        model.setAllChecked(false);
        QCOMPARE(model.checkedCount(), 0);
        model.setAllChecked(true);
        QCOMPARE(model.checkedCount(), 2);
        QCOMPARE(checked.count(), 3);
    }

    void itemChangeReachesTheRightRowAfterRemoval()
    {
        ThumbnailListModel model;
        const QVector<ItemPtr> items = fakes({"/p/a.jpg", "/p/b.jpg", "/p/c.jpg"});
        model.appendItems(items);
        model.removePaths({"/p/a.jpg"});
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        auto* c = static_cast<FakeThumbnailItem*>(items.at(2).data());
        c->finish(QSize(10, 8), Qt::red);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first().at(0).value<QModelIndex>().row(), 1);
        QCOMPARE(model.index(1).data(ThumbnailListModel::StateRole).toInt(), int(IThumbnailItem::Ready));
        QCOMPARE(model.index(1).data(Qt::DecorationRole).value<QPixmap>().size(), QSize(10, 8));
        // A new thumbnail replaces the cached pixmap of the old one.
        c->finish(QSize(12, 9), Qt::blue);
        const QPixmap shown = model.index(1).data(Qt::DecorationRole).value<QPixmap>();
        QCOMPARE(shown.size(), QSize(12, 9));
        QCOMPARE(QColor(shown.toImage().pixel(3, 3)), QColor(Qt::blue));
        QCOMPARE(changed.count(), 2);

        // A removed item's change no longer reaches the model.
        changed.clear();
        static_cast<FakeThumbnailItem*>(items.at(0).data())->finish(QSize(10, 8), Qt::red);
        QCOMPARE(changed.count(), 0);
    }

    void naturalCompare()
    {
        const auto cmp = &ThumbnailProxyModel::naturalCompare;
        QCOMPARE(cmp("img_0001.JPG", "IMG_0001.jpg"), 0);
        // Each pair in order, both ways round; the same value with other zeros is still a strict order.
        const QVector<QPair<QString, QString>> ordered{
            {"IMG_9.jpg", "IMG_10.jpg"}, {"a", "a1"}, {"DJI_0999", "DJI_1000"}, {"p2", "p002"}, {"A", "b"},
            {"x99999999999999999999", "x100000000000000000000"}};
        for (const auto& pair : ordered)
            QVERIFY2(cmp(pair.first, pair.second) < 0 && cmp(pair.second, pair.first) > 0, qPrintable(pair.first));
    }

    void proxySortsNaturallyAndFilterOnlyHides()
    {
        ThumbnailListModel model;
        model.appendItems(fakes({"/z/IMG_10.jpg", "/a/img_2.jpg", "/b/IMG_1.jpg", "/a/IMG_10.jpg", "/c/DSC_5.JPG"}));
        ThumbnailProxyModel proxy;
        proxy.setSourceModel(&model);
        const QStringList byName = {"/c/DSC_5.JPG", "/b/IMG_1.jpg", "/a/img_2.jpg", "/a/IMG_10.jpg", "/z/IMG_10.jpg"};
        QCOMPARE(proxy.pathsInOrder(), byName);
        model.setChecked("/a/img_2.jpg", false);
        const QStringList checkedOnly{"/c/DSC_5.JPG", "/b/IMG_1.jpg", "/a/IMG_10.jpg", "/z/IMG_10.jpg"};
        QCOMPARE(proxy.pathsInOrder(true), checkedOnly);

        proxy.setNameFilter("img_1");
        QCOMPARE(proxy.rowCount(), 3); // IMG_1 and both IMG_10
        QCOMPARE(proxy.pathsInOrder(), byName);

        proxy.setNameFilter(QString());
        proxy.setSortMode(ThumbnailProxyModel::AsAdded);
        QCOMPARE(proxy.pathsInOrder(), model.paths());

        proxy.setSortMode(ThumbnailProxyModel::ByName, Qt::DescendingOrder);
        const QStringList reversed{"/z/IMG_10.jpg", "/a/IMG_10.jpg", "/a/img_2.jpg", "/b/IMG_1.jpg", "/c/DSC_5.JPG"};
        QCOMPARE(proxy.pathsInOrder(), reversed);
        QCOMPARE(proxy.index(0, 0).data(ThumbnailListModel::PathRole).toString(), reversed.first());

        // A new photo lands in its sorted place.
        proxy.setSortMode(ThumbnailProxyModel::ByName);
        model.appendItems(fakes({"/q/IMG_3.jpg"}));
        QCOMPARE(proxy.index(3, 0).data(ThumbnailListModel::PathRole).toString(), QString("/q/IMG_3.jpg"));
    }

    void everyPhotoIsRequestedAndVisibleOnesRaised()
    {
        Shown s;
        const QSize tile = ThumbnailDelegate::tileSize();
        QVERIFY(s.open(QSize(4 * tile.width() + 40, 3 * tile.height()), 200));
        for (FakeThumbnailItem* item : s.items)
            QVERIFY(item->requests >= 1);
        // The first page is raised to visible priority, the last tile is not on screen.
        QTRY_COMPARE(s.items.first()->lastPriority, IThumbnailItem::Visible);
        QCOMPARE(s.items.last()->lastPriority, IThumbnailItem::Background);
        const QVector<IThumbnailItem*> top = s.view.visibleItems();
        QVERIFY(top.size() >= 4 && top.size() <= 20);
        QVERIFY(top.contains(s.items.first()) && !top.contains(s.items.last()));

        s.view.verticalScrollBar()->setValue(s.view.verticalScrollBar()->maximum());
        QTRY_COMPARE(s.items.last()->lastPriority, IThumbnailItem::Visible);
        const QVector<IThumbnailItem*> bottom = s.view.visibleItems();
        QVERIFY(bottom.contains(s.items.last()) && !bottom.contains(s.items.first()));
    }

    void clicksCheckHighlightAndAskForRemoval()
    {
        Shown s;
        QVERIFY(s.open(QSize(800, 500), 6));
        const QRect tile = s.tile(1);
        s.click(ThumbnailDelegate::checkBoxRect(tile).center());
        QVERIFY(!s.model.isChecked(1));
        QCOMPARE(s.model.checkedCount(), 5);
        QVERIFY(!s.view.selectionModel()->isSelected(s.model.index(1)));
        s.click(ThumbnailDelegate::checkBoxRect(tile).center());
        QVERIFY(s.model.isChecked(1));
        // Delete asks for removal only once something is highlighted.
        QSignalSpy remove(&s.view, &ThumbnailView::removeRequested);
        QTest::keyClick(&s.view, Qt::Key_Delete);
        QCOMPARE(remove.count(), 0);
        // A click on the picture highlights it and leaves the check alone.
        s.click(tile.center());
        QVERIFY(s.view.selectionModel()->isSelected(s.model.index(1)));
        QVERIFY(s.model.isChecked(1));
        QTest::keyClick(&s.view, Qt::Key_Delete);
        QCOMPARE(remove.count(), 1);
        // Space toggles the current tile.
        QTest::keyClick(&s.view, Qt::Key_Space);
        QVERIFY(!s.model.isChecked(1));
    }

    void readyFailedAndMissing()
    {
        QVERIFY(TestPhotos::writePhoto(file("good.jpg"), QSize(800, 600), 1, false));
        QVERIFY(TestPhotos::writeCorrupt(file("broken.jpg")));
        LocalImageFileItem good(file("good.jpg"));
        LocalImageFileItem broken(file("broken.jpg"));
        LocalImageFileItem missing(file("gone.jpg"));
        QCOMPARE(good.state(), IThumbnailItem::Loading);

        QSignalSpy changed(&good, &IThumbnailItem::thumbnailChanged);
        for (auto* item : {&good, &broken, &missing})
            item->requestThumbnail(IThumbnailItem::Background);
        const QList<IThumbnailItem::State> want{IThumbnailItem::Ready, IThumbnailItem::Failed, IThumbnailItem::Failed};
        QTRY_COMPARE(QList<IThumbnailItem::State>({good.state(), broken.state(), missing.state()}), want);
        QCOMPARE(changed.count(), 1);

        QCOMPARE(good.thumbnail().size(), QSize(160, 120));
        QVERIFY(good.errorText().isEmpty());
        // A failed item shows the placeholder and says why.
        QCOMPARE(broken.thumbnail(), ThumbnailPlaceholder::failedImage(ThumbnailLoader::thumbnailSize()));
        QVERIFY(!broken.errorText().isEmpty() && broken.errorText() != missing.errorText());
        QVERIFY(missing.errorText().contains("missing"));
    }

    void embeddedThumbnailIsPreferred()
    {
        // The picture is red and its EXIF thumbnail blue: the colour tells
        // which one the item shows.
        const QImage red = TestPhotos::makePicture(QSize(1600, 1200), 0, QColor(220, 20, 20));
        const QImage blue = TestPhotos::makePicture(QSize(160, 120), 0, QColor(20, 20, 220));
        QVERIFY(TestPhotos::writeJpeg(file("exif.jpg"), red, blue));
        QVERIFY(TestPhotos::writeJpeg(file("plain.jpg"), red));
        QVERIFY(centre(loaded(file("exif.jpg"))).blue() > 180);
        QVERIFY(centre(loaded(file("plain.jpg"))).red() > 180);
    }

    void neverMoreThanTheLimitInFlight()
    {
        loader()->setMaxInFlight(2);
        std::vector<std::unique_ptr<LocalImageFileItem>> items;
        for (int i = 0; i < 30; ++i) {
            const QString path = file(QString("limit_%1.jpg").arg(i));
            QVERIFY(TestPhotos::writePhoto(path, QSize(400, 300), i, i % 2 == 0));
            items.emplace_back(new LocalImageFileItem(path));
        }
        int peak = 0;
        connect(loader(), &ThumbnailLoader::loadStarted, this,
                [&peak, this] { peak = std::max(peak, loader()->inFlight()); });
        QSignalSpy finished(loader(), &ThumbnailLoader::loadFinished);
        for (auto& item : items)
            item->requestThumbnail(IThumbnailItem::Background);
        QCOMPARE(loader()->pendingCount(), 30);
        QTRY_COMPARE(finished.count(), 30);
        disconnect(loader(), &ThumbnailLoader::loadStarted, this, nullptr);
        QCOMPARE(peak, 2);
        for (auto& item : items)
            QCOMPARE(item->state(), IThumbnailItem::Ready);
    }

    void visibleRequestsGoFirst()
    {
        std::vector<std::unique_ptr<LocalImageFileItem>> items;
        for (int i = 0; i < 40; ++i) {
            const QString path = file(QString("prio_%1.jpg").arg(i));
            QVERIFY(TestPhotos::writePhoto(path, QSize(320, 240), i, false));
            items.emplace_back(new LocalImageFileItem(path));
        }
        loader()->setPaused(true);
        for (auto& item : items)
            item->requestThumbnail(IThumbnailItem::Background);
        // A first page was visible, then the user scrolled to the end.
        loader()->beginVisiblePass();
        for (int i = 0; i < 5; ++i)
            items[i]->requestThumbnail(IThumbnailItem::Visible);
        loader()->beginVisiblePass();
        QStringList visible;
        for (int i = 35; i < 40; ++i) {
            items[i]->requestThumbnail(IThumbnailItem::Visible);
            visible << items[i]->path();
        }
        QCOMPARE(loader()->pendingCount(), 40);

        QStringList started;
        connect(loader(), &ThumbnailLoader::loadStarted, this, [&started](const QString& path) { started << path; });
        loader()->setPaused(false);
        QTRY_COMPARE(started.size(), 40);
        disconnect(loader(), &ThumbnailLoader::loadStarted, this, nullptr);
        QCOMPARE(started.mid(0, 5), visible);
        // The rest in the order they were asked for, each exactly once.
        QCOMPARE(started.at(5), items[0]->path());
        QCOMPARE(started.removeDuplicates(), 0);
    }

    void cacheIsReusedUntilTheFileChanges()
    {
        const QString path = file("cached.jpg");
        QVERIFY(TestPhotos::writeJpeg(path, TestPhotos::makePicture(QSize(640, 480), 0, QColor(20, 200, 20))));
        QVERIFY(!loaded(path).isNull());
        const int decodes = loader()->decodeCount();
        const int hits = loader()->cacheHitCount();
        LocalImageFileItem second(path);
        second.requestThumbnail(IThumbnailItem::Visible);
        QTRY_COMPARE(second.state(), IThumbnailItem::Ready);
        QCOMPARE(loader()->decodeCount(), decodes);
        QCOMPARE(loader()->cacheHitCount(), hits + 1);
        QVERIFY(centre(second.thumbnail()).green() > 150);

        // Replaced by a different photo (other size and content): decoded again,
        // though nobody told the loader.
        QVERIFY(TestPhotos::writeJpeg(path, TestPhotos::makePicture(QSize(800, 600), 0, QColor(200, 20, 200))));
        QVERIFY(centre(loaded(path)).red() > 150);
        QCOMPARE(loader()->decodeCount(), decodes + 1);
        second.reload();
        QCOMPARE(second.state(), IThumbnailItem::Loading);
    }

    void itemDestroyedWhileLoading()
    {
        QVERIFY(TestPhotos::writePhoto(file("short.jpg"), QSize(2000, 1500), 3, false));
        QSignalSpy finished(loader(), &ThumbnailLoader::loadFinished);
        auto* item = new LocalImageFileItem(file("short.jpg"));
        // Deleted as soon as its decode is on a worker.
        int inFlightAtDelete = -1;
        connect(loader(), &ThumbnailLoader::loadStarted, this, [&inFlightAtDelete, item, this] {
            inFlightAtDelete = loader()->inFlight();
            delete item;
        });
        QPointer<LocalImageFileItem> guard(item);
        item->requestThumbnail(IThumbnailItem::Visible);
        QTRY_COMPARE(finished.count(), 1);
        disconnect(loader(), &ThumbnailLoader::loadStarted, this, nullptr);
        QVERIFY(guard.isNull());
        QCOMPARE(inFlightAtDelete, 1);
        QVERIFY(loader()->isIdle());
    }

    void pixelsRoundTrip_data()
    {
        QTest::addColumn<QSize>("widgetSize");
        QTest::addColumn<double>("scale"); // 0 = fitted
        QTest::addColumn<QRect>("bound");  // expected image rectangle
        QTest::newRow("fitted, letterbox above and below") << QSize(400, 400) << 0.0 << QRect(0, 100, 400, 200);
        QTest::newRow("fitted, letterbox left and right") << QSize(900, 300) << 0.0 << QRect(150, 0, 600, 300);
        QTest::newRow("actual size") << QSize(400, 400) << 1.0 << QRect(0, 0, 400, 400);
        QTest::newRow("close, odd scale") << QSize(300, 200) << 3.7 << QRect(0, 0, 300, 200);
        QTest::newRow("very close") << QSize(300, 200) << 17.0 << QRect(0, 0, 300, 200);
    }
    void pixelsRoundTrip()
    {
        QFETCH(QSize, widgetSize);
        QFETCH(double, scale);
        QFETCH(QRect, bound);
        ZoomableImgWidget w;
        QVERIFY(showPhoto(w, widgetSize));
        if (scale > 0)
            w.centreOn(QPointF(433.3, 211.9), scale);
        QCOMPARE(w.getActualImageBound(), bound);
        const double s = w.scale();
        int checked = 0;
        for (int y = 0; y < 400; y += 7) {
            for (int x = 0; x < 800; x += 11) {
                const QPoint local = w.getLocalPoint(QPoint(x, y));
                if (!bound.contains(local))
                    continue;
                ++checked;
                // Close up each pixel comes back exactly; zoomed out, the
                // widget pixel shows a neighbour within one screen pixel.
                const QPoint back = w.getSourcePoint(local);
                if (s >= 1.0)
                    QCOMPARE(back, QPoint(x, y));
                else
                    QVERIFY((back - QPoint(x, y)).manhattanLength() <= 2 * int(std::ceil(1.0 / s)));
                QVERIFY(w.isMouseOnImage(local));
            }
        }
        QVERIFY(checked > 0);
        if (bound.top() > 0)
            QVERIFY(!w.isMouseOnImage(QPoint(widgetSize.width() / 2, bound.top() / 2)));
        if (bound.left() > 0)
            QVERIFY(!w.isMouseOnImage(QPoint(bound.left() / 2, widgetSize.height() / 2)));
        // The first widget pixel past the image's right and bottom edges is off it.
        if (s < 1.0) {
            QVERIFY(!w.isMouseOnImage(QPoint(bound.right() + 1, bound.center().y())));
            QVERIFY(!w.isMouseOnImage(QPoint(bound.center().x(), bound.bottom() + 1)));
        }
    }

    void zoomKeepsThePixelUnderTheCursor()
    {
        ZoomableImgWidget w;
        QVERIFY(showPhoto(w, QSize(500, 300)));
        const QPointF cursor(123.0, 77.0);
        for (int steps : {3, 2, -1, 4, -6}) {
            const QPointF before = w.sourcePointF(cursor);
            QWheelEvent wheel(cursor, w.mapToGlobal(cursor.toPoint()), QPoint(), QPoint(0, 120 * steps), Qt::NoButton,
                              Qt::NoModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(&w, &wheel);
            if (!w.isFitted()) // at fit the view re-centres
                QVERIFY((w.sourcePointF(cursor) - before).manhattanLength() < 1e-6);
        }
        // Double click: close view centred there, then back to fit.
        QTest::mouseDClick(&w, Qt::LeftButton, Qt::NoModifier, QPoint(250, 150));
        QTRY_COMPARE(w.scale(), w.closeScale());
        QTest::mouseDClick(&w, Qt::LeftButton, Qt::NoModifier, QPoint(250, 150));
        QVERIFY(w.isFitted());
    }

    void panTellsThePress()
    {
        ZoomableImgWidget w;
        QVERIFY(showPhoto(w, QSize(400, 300)));
        w.centreOn(QPointF(400, 200), 4.0);
        const QPointF before = w.sourcePointF(QPointF(200, 150));
        QTest::mousePress(&w, Qt::MiddleButton, Qt::NoModifier, QPoint(200, 150));
        QMouseEvent move(QEvent::MouseMove, QPointF(260, 150), Qt::NoButton, Qt::MiddleButton, Qt::NoModifier);
        QApplication::sendEvent(&w, &move);
        QTest::mouseRelease(&w, Qt::MiddleButton, Qt::NoModifier, QPoint(260, 150));
        QVERIFY(w.isPanning());
        QCOMPARE(w.sourcePointF(QPointF(260, 150)), before);
        QTest::mouseClick(&w, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
        QVERIFY(!w.isPanning());
    }

    void unreadablePhotoSaysSo_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("not an image") << "broken.jpg";
        QTest::newRow("missing") << "gone.jpg";
    }
    void unreadablePhotoSaysSo()
    {
        QFETCH(QString, name);
        const QString path = file(name);
        if (name == QLatin1String("broken.jpg"))
            QVERIFY(TestPhotos::writeCorrupt(path));
        ZoomableImgWidget w;
        QVERIFY(showPhoto(w, QSize(300, 200))); // nothing of it may stay behind
        QSignalSpy failed(&w, &ZoomableImgWidget::imageFailed);
        w.loadImage(path);
        QTRY_COMPARE(failed.count(), 1);
        QVERIFY(w.errorText().contains(name));
        QVERIFY(!w.isMouseOnImage(QPoint(150, 100)));
        QVERIFY(w.getActualImageBound().isEmpty());
    }
};

QTEST_MAIN(TestUiToolkit)
#include "tst_uitoolkit.moc"
