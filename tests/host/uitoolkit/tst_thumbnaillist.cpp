// The photo list: the model, its sorting and filtering proxy, and the view over them.
#include <support/TestSupport.h>
#include <uitoolkit/IThumbnailItem.h>
#include <uitoolkit/ThumbnailDelegate.h>
#include <uitoolkit/ThumbnailListModel.h>
#include <uitoolkit/ThumbnailProxyModel.h>
#include <uitoolkit/ThumbnailView.h>

#include <QtTest>
#include <QtWidgets>

using Zyn::UiToolkit::IThumbnailItem;
using Zyn::UiToolkit::ThumbnailDelegate;
using Zyn::UiToolkit::ThumbnailListModel;
using Zyn::UiToolkit::ThumbnailProxyModel;
using Zyn::UiToolkit::ThumbnailView;
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

    void finish(const QImage& image)
    {
        m_image = image;
        m_state = image.isNull() ? Failed : Ready;
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

} // namespace

class TestThumbnailList : public QObject {
    Q_OBJECT
private slots:
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
        QCOMPARE(model.rowOf("/p/c.jpg"), 2);
        QCOMPARE(model.index(2).data(Qt::CheckStateRole).toInt(), int(Qt::Checked));

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
        QImage image(10, 8, QImage::Format_RGB32);
        image.fill(Qt::red);
        c->finish(image);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first().at(0).value<QModelIndex>().row(), 1);
        QCOMPARE(model.index(1).data(ThumbnailListModel::StateRole).toInt(), int(IThumbnailItem::Ready));
        QCOMPARE(model.index(1).data(Qt::DecorationRole).value<QPixmap>().size(), QSize(10, 8));
        // A new thumbnail replaces the cached pixmap of the old one.
        QImage blue(12, 9, QImage::Format_RGB32);
        blue.fill(Qt::blue);
        c->finish(blue);
        const QPixmap shown = model.index(1).data(Qt::DecorationRole).value<QPixmap>();
        QCOMPARE(shown.size(), QSize(12, 9));
        QCOMPARE(QColor(shown.toImage().pixel(3, 3)), QColor(Qt::blue));
        QCOMPARE(changed.count(), 2);

        // A removed item's change no longer reaches the model.
        changed.clear();
        static_cast<FakeThumbnailItem*>(items.at(0).data())->finish(image);
        QCOMPARE(changed.count(), 0);
    }

    void naturalCompare()
    {
        const auto cmp = &ThumbnailProxyModel::naturalCompare;
        QVERIFY(cmp("IMG_9.jpg", "IMG_10.jpg") < 0);
        QVERIFY(cmp("IMG_10.jpg", "IMG_9.jpg") > 0);
        QCOMPARE(cmp("img_0001.JPG", "IMG_0001.jpg"), 0);
        QVERIFY(cmp("a", "a1") < 0);
        QVERIFY(cmp("a1", "a") > 0);
        QVERIFY(cmp("DJI_0999", "DJI_1000") < 0);
        // Same value, different zeros: still a strict order, both ways round.
        QVERIFY(cmp("p2", "p002") < 0);
        QVERIFY(cmp("p002", "p2") > 0);
        QVERIFY(cmp("x99999999999999999999", "x100000000000000000000") < 0);
        QVERIFY(cmp("b", "A") > 0);
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
};

QTEST_MAIN(TestThumbnailList)
#include "tst_thumbnaillist.moc"
