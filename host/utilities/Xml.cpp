#include "Xml.h"

#include "Utilities.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace Zyn {
namespace Xml {
namespace {

bool fail(QString* errorMessage, const QString& text)
{
    if (errorMessage)
        *errorMessage = text;
    return false;
}

} // namespace

bool loadXml(const QString& fileName, QDomDocument& doc, QString* errorMessage)
{
    if (fileName.isEmpty())
        return fail(errorMessage, QCoreApplication::translate("Zyn::Xml", "No file name was given."));

    const QString path = QDir::isRelativePath(fileName) ? QDir(Utilities::dataDirectory()).filePath(fileName)
                                                        : fileName;
    const QFileInfo info(path);
    if (!info.exists())
        return fail(errorMessage,
                    QCoreApplication::translate("Zyn::Xml", "The file \"%1\" does not exist.")
                        .arg(QDir::toNativeSeparators(path)));
    if (info.isDir())
        return fail(errorMessage, QCoreApplication::translate("Zyn::Xml", "\"%1\" is a folder, not a file.")
                                      .arg(QDir::toNativeSeparators(path)));

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(errorMessage, QCoreApplication::translate("Zyn::Xml", "The file \"%1\" cannot be read: %2")
                                      .arg(QDir::toNativeSeparators(path), file.errorString()));

    // Parse into a scratch document, so a broken file leaves doc as it was.
    QDomDocument parsed;
    QString parseError;
    int line = 0;
    int column = 0;
    if (!parsed.setContent(&file, &parseError, &line, &column))
        return fail(errorMessage,
                    QCoreApplication::translate("Zyn::Xml",
                                                "The file \"%1\" is not valid XML: %2 (line %3, column %4).")
                        .arg(QDir::toNativeSeparators(path), parseError)
                        .arg(line)
                        .arg(column));
    doc = parsed;
    if (errorMessage)
        errorMessage->clear();
    return true;
}

} // namespace Xml
} // namespace Zyn
