#include "FakeThumbnailItem.h"

#include <keelcore/Dispatch.h>
#include <uitoolkit/ThumbnailDelegate.h>
#include <uitoolkit/ThumbnailListModel.h>
#include <uitoolkit/ThumbnailView.h>

#include <QScrollBar>
#include <QSignalSpy>
#include <QtTest>

using Zyn::UiToolkit::IThumbnailItem;
using Zyn::UiToolkit::ThumbnailDelegate;
using Zyn::UiToolkit::ThumbnailListModel;
using Zyn::UiToolkit::ThumbnailView;
using ItemPtr = QSharedPointer<IThumbnailItem>;

class TestThumbnailView : public QObject {
    Q_OBJECT
private:
    QVector<FakeThumbnailItem*> fill(ThumbnailListModel& model, int count)
    {
        QVector<ItemPtr> items;
        QVector<FakeThumbnailItem*> raw;
        for (int i = 0; i < count; ++i) {
            auto* item = new FakeThumbnailItem(QString("/photos/p%1.jpg").arg(i, 4, 10, QChar('0')));
            items << ItemPtr(item);
            raw << item;
        }
        model.appendItems(items);
        return raw;
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void everyPhotoIsRequestedAndVisibleOnesRaised()
    {
        ThumbnailListModel model;
        ThumbnailView view;
        view.resize(4 * ThumbnailDelegate::tileSize().width() + 40, 3 * ThumbnailDelegate::tileSize().height());
        view.setModel(&model);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        const QVector<FakeThumbnailItem*> items = fill(model, 200);

        for (FakeThumbnailItem* item : items)
            QVERIFY(item->requests >= 1);
        // The first page is raised to visible priority, the last tile is not on screen.
        QTRY_COMPARE(items.first()->lastPriority, IThumbnailItem::Visible);
        QCOMPARE(items.last()->lastPriority, IThumbnailItem::Background);
        const QVector<IThumbnailItem*> top = view.visibleItems();
        QVERIFY(top.size() >= 4);
        QVERIFY(top.size() <= 20);
        QVERIFY(top.contains(items.first()));
        QVERIFY(!top.contains(items.last()));

        view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum());
        QTRY_COMPARE(items.last()->lastPriority, IThumbnailItem::Visible);
        const QVector<IThumbnailItem*> bottom = view.visibleItems();
        QVERIFY(bottom.contains(items.last()));
        QVERIFY(!bottom.contains(items.first()));
    }

    void checkBoxClickTogglesWithoutHighlighting()
    {
        ThumbnailListModel model;
        ThumbnailView view;
        view.resize(800, 500);
        view.setModel(&model);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        fill(model, 6);
        QTRY_VERIFY(view.visualRect(model.index(1)).isValid());

        const QRect tile = view.visualRect(model.index(1));
        QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier,
                          ThumbnailDelegate::checkBoxRect(tile).center());
        QVERIFY(!model.isChecked(1));
        QCOMPARE(model.checkedCount(), 5);
        QVERIFY(!view.selectionModel()->isSelected(model.index(1)));
        QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier,
                          ThumbnailDelegate::checkBoxRect(tile).center());
        QVERIFY(model.isChecked(1));

        // A click on the picture highlights it and leaves the check alone.
        QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, tile.center());
        QVERIFY(view.selectionModel()->isSelected(model.index(1)));
        QVERIFY(model.isChecked(1));
        // Space toggles the current tile.
        QTest::keyClick(&view, Qt::Key_Space);
        QVERIFY(!model.isChecked(1));
    }

    void deleteKeyAsksForRemovalOnlyWithAHighlight()
    {
        ThumbnailListModel model;
        ThumbnailView view;
        view.resize(800, 500);
        view.setModel(&model);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        fill(model, 3);
        QSignalSpy remove(&view, &ThumbnailView::removeRequested);
        QTest::keyClick(&view, Qt::Key_Delete);
        QCOMPARE(remove.count(), 0);
        QTRY_VERIFY(view.visualRect(model.index(2)).isValid());
        QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, view.visualRect(model.index(2)).center());
        QTest::keyClick(&view, Qt::Key_Delete);
        QCOMPARE(remove.count(), 1);
    }

    void tilesPaintEveryState()
    {
        ThumbnailListModel model;
        ThumbnailView view;
        view.resize(800, 300);
        view.setModel(&model);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        const QVector<FakeThumbnailItem*> items = fill(model, 3);
        QImage red(160, 120, QImage::Format_RGB32);
        red.fill(Qt::red);
        items[0]->finish(red);
        items[1]->finish(QImage());
        QTRY_VERIFY(view.visualRect(model.index(2)).isValid());
        const QImage shot = view.viewport()->grab().toImage();
        const QRect first = ThumbnailDelegate::imageRect(view.visualRect(model.index(0)));
        // Away from the check box, the ready tile shows its red picture.
        QCOMPARE(QColor(shot.pixel(first.center())), QColor(Qt::red));
        const QRect loading = ThumbnailDelegate::imageRect(view.visualRect(model.index(2)));
        QVERIFY(QColor(shot.pixel(loading.center() + QPoint(0, 30))) != QColor(Qt::red));
    }
};

QTEST_MAIN(TestThumbnailView)
#include "tst_thumbnailview.moc"
