// The flyout's credit rule, which needs no window: which credit figure is
// shown in which colour.

#include <create/AerialSettingsFlyout.h>

#include <QtTest>

using Zyn::AppCreate::AerialSettingsFlyout;

class TstAerialFlyoutRules : public QObject {
    Q_OBJECT

private slots:
    void creditTextRule_data();
    void creditTextRule();
};

void TstAerialFlyoutRules::creditTextRule_data()
{
    QTest::addColumn<QList<int>>("available");
    QTest::addColumn<int>("required");
    QTest::addColumn<QString>("colour");
    QTest::addColumn<int>("shown");
    QTest::newRow("second pool covers") << QList<int>{5, 20} << 10 << "gray" << 20;
    QTest::newRow("none covers: largest") << QList<int>{5, 8} << 10 << "red" << 8;
    QTest::newRow("first covering, not largest") << QList<int>{12, 30} << 10 << "gray" << 12;
    QTest::newRow("largest not last") << QList<int>{9, 3} << 10 << "red" << 9;
    QTest::newRow("exactly enough") << QList<int>{10} << 10 << "gray" << 10;
    QTest::newRow("free project") << QList<int>{0} << 0 << "gray" << 0;
}

void TstAerialFlyoutRules::creditTextRule()
{
    QFETCH(QList<int>, available);
    QFETCH(int, required);
    QFETCH(QString, colour);
    QFETCH(int, shown);
    QCOMPARE(AerialSettingsFlyout::cloudCreditsText(available, required),
             QStringLiteral("<html><body><font color=\"%1\">%2</font> Cloud Credits required / %3 available</body></html>")
                 .arg(colour)
                 .arg(required)
                 .arg(shown));
}

QTEST_GUILESS_MAIN(TstAerialFlyoutRules)
#include "tst_aerialflyoutrules.moc"
