#include <utilities/Xml.h>
#include <support/TestSupport.h>

#include <QtTest>

class TestXml : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

    QString write(const QString& name, const QByteArray& content)
    {
        const QString path = m_dir.filePath(name);
        return Zyn::TestSupport::writeFile(path, content) ? path : QString();
    }

private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }
    void cleanup() { qunsetenv("ZYN_DATA_PATH"); }

    void goodFileLoads()
    {
        const QString path = write("good.xml", "<?xml version=\"1.0\"?><config><headers><gcpname><name>Point"
                                               "</name></gcpname></headers></config>");
        QDomDocument doc;
        QString error = "stale";
        QVERIFY(Zyn::Xml::loadXml(path, doc, &error));
        QVERIFY(error.isEmpty());
        QCOMPARE(doc.documentElement().firstChildElement("headers").firstChildElement("gcpname").text(),
                 QStringLiteral("Point"));
        QVERIFY(Zyn::Xml::loadXml(path, doc)); // the message is optional
    }

    // A failed load says why and where, and leaves the document as it was.
    void failuresSayWhy_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content"); // null: not written
        QTest::addColumn<QStringList>("said");
        QTest::newRow("missing") << "absent.xml" << QByteArray() << QStringList{"absent.xml", "does not exist"};
        QTest::newRow("no name") << "" << QByteArray() << QStringList{};
        QTest::newRow("folder") << "." << QByteArray() << QStringList{"folder"};
        QTest::newRow("broken") << "broken.xml" << QByteArray("<root>\n  <a>\n</root>\n")
                                << QStringList{"broken.xml", "line 3"};
        QTest::newRow("binary") << "binary.xml" << QByteArray("\x00\xff\xfe\x01garbage", 11) << QStringList{};
    }

    void failuresSayWhy()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(QStringList, said);
        const QString path = !content.isNull() ? write(name, content) : name.isEmpty() ? name : m_dir.filePath(name);
        QDomDocument doc;
        QVERIFY(Zyn::Xml::loadXml(write("keep.xml", "<root><a/></root>"), doc));
        QString error;
        QVERIFY(!Zyn::Xml::loadXml(path, doc, &error));
        QVERIFY(!error.isEmpty());
        for (const QString& part : said)
            QVERIFY2(error.contains(part), qPrintable(error));
        QVERIFY(!doc.documentElement().firstChildElement("a").isNull());
    }

    void relativeNamesComeFromTheDataFolder()
    {
        QVERIFY(!write("zynphoto_gcp.cfg", "<synonyms/>").isEmpty());
        qputenv("ZYN_DATA_PATH", m_dir.path().toUtf8());
        QDomDocument doc;
        QString error;
        QVERIFY2(Zyn::Xml::loadXml("zynphoto_gcp.cfg", doc, &error), qPrintable(error));
        QCOMPARE(doc.documentElement().tagName(), QStringLiteral("synonyms"));

        qputenv("ZYN_DATA_PATH", m_dir.filePath("elsewhere").toUtf8());
        QVERIFY(!Zyn::Xml::loadXml("zynphoto_gcp.cfg", doc, &error));
        QVERIFY2(error.contains("elsewhere"), qPrintable(error));
    }
};

QTEST_GUILESS_MAIN(TestXml)
#include "tst_xml.moc"
