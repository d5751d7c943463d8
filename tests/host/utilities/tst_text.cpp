#include <utilities/Utilities.h>

#include <QtTest>

using namespace Zyn::Utilities;

class TestText : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        qunsetenv("ZYN_LIST_SEPARATOR");
        qunsetenv("ZYN_DATA_PATH");
    }
    void cleanupTestCase()
    {
        qunsetenv("ZYN_LIST_SEPARATOR");
        qunsetenv("ZYN_DATA_PATH");
    }

    void listSeparatorFollowsTheDecimalPoint_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QByteArray>("override"); // ZYN_LIST_SEPARATOR
        QTest::addColumn<QString>("separator");
        const QLocale german(QLocale::German, QLocale::Germany);
        QTest::newRow("English") << QLocale(QLocale::English, QLocale::UnitedStates) << QByteArray() << ",";
        QTest::newRow("German") << german << QByteArray() << ";";
        QTest::newRow("French") << QLocale(QLocale::French, QLocale::France) << QByteArray() << ";";
        QTest::newRow("Japanese") << QLocale(QLocale::Japanese, QLocale::Japan) << QByteArray() << ",";
        QTest::newRow("C") << QLocale::c() << QByteArray() << ",";
        QTest::newRow("tab set") << german << QByteArray("\t") << "\t";
        QTest::newRow("comma set") << QLocale(QLocale::French, QLocale::France) << QByteArray(",") << ",";
        QTest::newRow("not one character: ignored") << german << QByteArray("ab") << ";";
    }
    void listSeparatorFollowsTheDecimalPoint()
    {
        QFETCH(QLocale, locale);
        QFETCH(QByteArray, override);
        QFETCH(QString, separator);
        if (!override.isNull())
            qputenv("ZYN_LIST_SEPARATOR", override);
        QCOMPARE(getListSeparatorForLocale(locale), separator);
        if (override.size() == 1)
            QCOMPARE(getListSeparatorInCurrentLocale(), separator);
    }

    void elidedText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("maxChars");
        QTest::addColumn<QString>("expected");
        QTest::newRow("short") << "GCP 1" << 10 << "GCP 1";
        QTest::newRow("exact") << "0123456789" << 10 << "0123456789";
        QTest::newRow("cut") << "Control point north" << 10 << "Control...";
        QTest::newRow("only dots fit") << "abcdef" << 3 << "...";
        QTest::newRow("fewer than dots") << "abcdef" << 2 << "..";
        QTest::newRow("zero") << "abcdef" << 0 << "";
        QTest::newRow("negative") << "abcdef" << -4 << "";
        QTest::newRow("empty") << "" << 5 << "";
        // U+1F4CD is two UTF-16 units; it must not be split.
        QTest::newRow("surrogate pair") << QString::fromUtf8("ab\xF0\x9F\x93\x8D" "cdefgh") << 6 << "ab...";
    }
    void elidedText()
    {
        QFETCH(QString, text);
        QFETCH(int, maxChars);
        QFETCH(QString, expected);
        const QString elided = getElidedText(text, maxChars);
        QCOMPARE(elided, expected);
        QVERIFY(elided.size() <= qMax(0, maxChars));
    }

    void dataDirectory()
    {
        QCOMPARE(Zyn::Utilities::dataDirectory(),
                 QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../share/zynphoto"));
        qputenv("ZYN_DATA_PATH", "/tmp/some/where/");
        QCOMPARE(Zyn::Utilities::dataDirectory(), QStringLiteral("/tmp/some/where"));
    }

};

QTEST_GUILESS_MAIN(TestText)
#include "tst_text.moc"
