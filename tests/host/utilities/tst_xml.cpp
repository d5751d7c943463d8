#include <utilities/Xml.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class TestXml : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

    QString write(const QString& name, const QByteArray& content)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            return {};
        return path;
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
        QCOMPARE(doc.documentElement().tagName(), QStringLiteral("config"));
        QCOMPARE(doc.documentElement().firstChildElement("headers").firstChildElement("gcpname").text(),
                 QStringLiteral("Point"));
        // The message is optional.
        QVERIFY(Zyn::Xml::loadXml(path, doc));
    }

    void missingFileSaysSo()
    {
        QDomDocument doc;
        QString error;
        QVERIFY(!Zyn::Xml::loadXml(m_dir.filePath("absent.xml"), doc, &error));
        QVERIFY2(error.contains("absent.xml") && error.contains("does not exist"), qPrintable(error));
        QVERIFY(!Zyn::Xml::loadXml(QString(), doc, &error));
        QVERIFY(!error.isEmpty());
    }

    void folderIsNotAFile()
    {
        QDomDocument doc;
        QString error;
        QVERIFY(!Zyn::Xml::loadXml(m_dir.path(), doc, &error));
        QVERIFY2(error.contains("folder"), qPrintable(error));
    }

    void brokenFileGivesLineAndKeepsTheDocument()
    {
        const QString good = write("keep.xml", "<root><a/></root>");
        const QString broken = write("broken.xml", "<root>\n  <a>\n</root>\n");
        QDomDocument doc;
        QVERIFY(Zyn::Xml::loadXml(good, doc));
        QString error;
        QVERIFY(!Zyn::Xml::loadXml(broken, doc, &error));
        QVERIFY2(error.contains("broken.xml") && error.contains("line 3"), qPrintable(error));
        QCOMPARE(doc.documentElement().tagName(), QStringLiteral("root"));
        QVERIFY(!doc.documentElement().firstChildElement("a").isNull());

        const QString binary = write("binary.xml", QByteArray("\x00\xff\xfe\x01garbage", 11));
        QVERIFY(!Zyn::Xml::loadXml(binary, doc, &error));
        QVERIFY(!error.isEmpty());
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
