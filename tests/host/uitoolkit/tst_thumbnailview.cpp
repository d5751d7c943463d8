#include "FakeThumbnailItem.h"

#include <support/TestSupport.h>
#include <uitoolkit/ThumbnailDelegate.h>
#include <uitoolkit/ThumbnailListModel.h>
#include <uitoolkit/ThumbnailView.h>

#include <QtTest>
#include <QtWidgets>

using Zyn::UiToolkit::IThumbnailItem;
using Zyn::UiToolkit::ThumbnailDelegate;
using Zyn::UiToolkit::ThumbnailListModel;
using Zyn::UiToolkit::ThumbnailView;

namespace {
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
        QVector<QSharedPointer<IThumbnailItem>> batch;
        for (int i = 0; i < count; ++i) {
            items << new FakeThumbnailItem(QString("/photos/p%1.jpg").arg(i, 4, 10, QChar('0')));
            batch << QSharedPointer<IThumbnailItem>(items.last());
        }
        model.appendItems(batch);
        return QTest::qWaitFor([this] { return view.visualRect(model.index(model.rowCount() - 1)).isValid(); });
    }
    QRect tile(int row) const { return view.visualRect(model.index(row)); }
    void click(const QPoint& at) { QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, at); }
};
} // namespace

class TestThumbnailView : public QObject {
    Q_OBJECT
private slots:
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

QTEST_MAIN(TestThumbnailView)
#include "tst_thumbnailview.moc"
