// The survey targets of a generated flight sit where its truth files say.
#include <support/TestSupport.h>

#include <QtTest>

class SurveyTargetsTest : public QObject {
    Q_OBJECT
private slots:
    void truePixelIsTheTargetCentre()
    {
        QTemporaryDir dir;
        QCOMPARE(Zyn::TestSupport::makeTargetFlight(dir.path()).size(), 20);
        QFile truth(dir.filePath(QStringLiteral("gcp_truth.txt")));
        QVERIFY(truth.open(QIODevice::ReadOnly));
        QCOMPARE(truth.readAll().count('\n'), 4);
        QFile csv(dir.filePath(QStringLiteral("gcp_pixels.csv")));
        QVERIFY(csv.open(QIODevice::ReadOnly | QIODevice::Text));
        csv.readLine();
        // 100 m up, 150 m across 640 px: the 8 m checker is about 34 px.
        const int side = int(8.0 / (150.0 / 640.0));
        int checked = 0;
        while (!csv.atEnd()) {
            const QStringList f = QString::fromUtf8(csv.readLine()).trimmed().split(QLatin1Char(','));
            QCOMPARE(f.size(), 4);
            const QImage image = QImage(dir.filePath(f.at(0))).convertToFormat(QImage::Format_Grayscale8);
            const QPointF truePixel(f.at(2).toDouble(), f.at(3).toDouble());
            // The two black quadrants lie symmetric about the centre: their
            // centroid is the centre, wherever the window sits on the white frame.
            double sx = 0, sy = 0, n = 0;
            const QPoint c = truePixel.toPoint();
            for (int y = c.y() - side / 2 - 2; y <= c.y() + side / 2 + 2; ++y)
                for (int x = c.x() - side / 2 - 2; x <= c.x() + side / 2 + 2; ++x)
                    if (image.rect().contains(x, y) && qGray(image.pixel(x, y)) < 60) {
                        sx += x + 0.5;
                        sy += y + 0.5;
                        ++n;
                    }
            QVERIFY2(n > side * side / 4, qPrintable(f.join(QLatin1Char(' '))));
            QVERIFY2(QLineF(QPointF(sx / n, sy / n), truePixel).length() <= 1.0, qPrintable(f.join(QLatin1Char(' '))));
            ++checked;
        }
        QVERIFY(checked >= 6);
    }
};

QTEST_MAIN(SurveyTargetsTest)
#include "tst_surveytargets.moc"
