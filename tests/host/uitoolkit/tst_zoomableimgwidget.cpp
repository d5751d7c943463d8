#include <uitoolkit/ZoomableImgWidget.h>

#include <TestPhotos.h>

#include <QtTest>
#include <QtGui>

#include <cmath>

using Zyn::UiToolkit::ZoomableImgWidget;

class ZoomableImgWidgetTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_photo = m_dir.filePath(QStringLiteral("photo.jpg"));
        QVERIFY(TestPhotos::writePhoto(m_photo, QSize(800, 400), 3, true));
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
        const QRect visible = w.getActualImageBound();
        int checked = 0;
        for (int y = 0; y < 400; y += 7) {
            for (int x = 0; x < 800; x += 11) {
                const QPoint local = w.getLocalPoint(QPoint(x, y));
                if (!visible.contains(local))
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
        const QString path = m_dir.filePath(name);
        if (name == QLatin1String("broken.jpg"))
            QVERIFY(TestPhotos::writeCorrupt(path));
        ZoomableImgWidget w;
        w.resize(300, 200);
        w.show();
        QSignalSpy failed(&w, &ZoomableImgWidget::imageFailed);
        w.loadImage(path);
        QTRY_COMPARE(failed.count(), 1);
        QVERIFY(w.errorText().contains(name));
        QVERIFY(!w.isMouseOnImage(QPoint(150, 100)));
        QVERIFY(w.getActualImageBound().isEmpty());
    }

private:
    // Shows w at size with the photo; true once the photo is decoded at full resolution.
    bool showPhoto(ZoomableImgWidget& w, const QSize& size)
    {
        w.resize(size);
        w.show();
        w.loadImage(m_photo);
        return QTest::qWaitFor([&w] { return w.isFullResolution(); });
    }

    QTemporaryDir m_dir;
    QString m_photo;
};

QTEST_MAIN(ZoomableImgWidgetTest)
#include "tst_zoomableimgwidget.moc"
