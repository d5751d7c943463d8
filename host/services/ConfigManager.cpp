#include "ConfigManager.h"

#include <utilities/QtCompat.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QSettings>
#include <QStringList>

namespace Zyn {
namespace Services {
namespace {

// INI values come back as strings (or string lists when they held commas).
QString asText(const QVariant& value, bool* ok)
{
    *ok = true;
    switch (value.userType()) {
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QStringList:
        return value.toStringList().join(QLatin1Char(','));
    case QMetaType::QByteArray:
        return QString::fromUtf8(value.toByteArray());
    default:
        break;
    }
    if (value.canConvert<QString>())
        return value.toString();
    *ok = false;
    return {};
}

} // namespace

ConfigManager::ConfigManager(const QString& filePath)
{
    const QFileInfo info(filePath);
    QDir().mkpath(info.absolutePath());
    m_settings = std::make_unique<QSettings>(filePath, QSettings::IniFormat);
    m_healthy = m_settings->status() == QSettings::NoError;
    if (!m_healthy)
        qWarning("Configuration file \"%s\" could not be read; defaults apply", qPrintable(filePath));
}

ConfigManager::~ConfigManager()
{
    QMutexLocker lock(&m_mutex);
    if (m_healthy)
        m_settings->sync();
}

QString ConfigManager::filePath() const
{
    QMutexLocker lock(&m_mutex);
    return m_settings->fileName();
}

bool ConfigManager::isHealthy() const
{
    QMutexLocker lock(&m_mutex);
    return m_healthy;
}

QString ConfigManager::backupPath() const
{
    QMutexLocker lock(&m_mutex);
    return m_backupPath;
}

bool ConfigManager::contains(const QString& key) const
{
    QMutexLocker lock(&m_mutex);
    return m_healthy && !key.isEmpty() && m_settings->contains(key);
}

QVariant ConfigManager::getValue(const QString& key, const QVariant& defaultValue) const
{
    QMutexLocker lock(&m_mutex);
    if (!m_healthy || key.isEmpty())
        return defaultValue;
    return m_settings->value(key, defaultValue);
}

int ConfigManager::getInt(const QString& key, int defaultValue) const
{
    const QVariant value = getValue(key);
    if (!value.isValid())
        return defaultValue;
    if (value.userType() == QMetaType::Int)
        return value.toInt();
    bool ok = false;
    const int number = asText(value, &ok).trimmed().toInt(&ok);
    return ok ? number : defaultValue;
}

bool ConfigManager::getBool(const QString& key, bool defaultValue) const
{
    const QVariant value = getValue(key);
    if (!value.isValid())
        return defaultValue;
    if (value.userType() == QMetaType::Bool)
        return value.toBool();
    bool ok = false;
    const QString text = asText(value, &ok).trimmed().toLower();
    if (text == QLatin1String("true") || text == QLatin1String("1") || text == QLatin1String("yes"))
        return true;
    if (text == QLatin1String("false") || text == QLatin1String("0") || text == QLatin1String("no"))
        return false;
    return defaultValue;
}

double ConfigManager::getDouble(const QString& key, double defaultValue) const
{
    const QVariant value = getValue(key);
    if (!value.isValid())
        return defaultValue;
    if (value.userType() == QMetaType::Double || value.userType() == QMetaType::Int)
        return value.toDouble();
    bool ok = false;
    // The file is the program's, not the user's locale: always a dot.
    const double number = asText(value, &ok).trimmed().toDouble(&ok);
    return ok && qIsFinite(number) ? number : defaultValue;
}

QString ConfigManager::getString(const QString& key, const QString& defaultValue) const
{
    const QVariant value = getValue(key);
    if (!value.isValid())
        return defaultValue;
    bool ok = false;
    const QString text = asText(value, &ok);
    return ok ? text : defaultValue;
}

QList<int> ConfigManager::getIntList(const QString& key, const QList<int>& defaultValue) const
{
    const QVariant value = getValue(key);
    if (!value.isValid())
        return defaultValue;
    QStringList parts;
    if (value.userType() == QMetaType::QVariantList) {
        const QVariantList items = value.toList();
        for (const QVariant& item : items)
            parts << item.toString();
    } else {
        bool ok = false;
        const QString text = asText(value, &ok);
        if (!ok)
            return defaultValue;
        parts = text.split(QRegularExpression(QStringLiteral("[,;]")), Compat::SkipEmptyParts);
    }
    QList<int> numbers;
    for (const QString& part : parts) {
        bool ok = false;
        const int number = part.trimmed().toInt(&ok);
        if (!ok)
            return defaultValue;
        numbers << number;
    }
    return numbers;
}

void ConfigManager::keepDamagedFileBeforeWriting()
{
    if (m_healthy || m_damagedFileKept)
        return;
    // Move the damaged file aside rather than write over what we could not
    // read: the user may still want it.
    const QString path = m_settings->fileName();
    m_settings.reset();
    if (QFileInfo(path).isFile()) {
        QString backup = path + QStringLiteral(".damaged");
        if (QFileInfo::exists(backup))
            backup = path + QStringLiteral(".damaged-%1").arg(QDateTime::currentMSecsSinceEpoch());
        if (QFile::rename(path, backup)) {
            m_backupPath = backup;
            qWarning("Configuration file \"%s\" was damaged; kept as \"%s\"", qPrintable(path), qPrintable(backup));
        }
    }
    m_settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
    m_healthy = m_settings->status() == QSettings::NoError;
    m_damagedFileKept = true;
}

void ConfigManager::setValue(const QString& key, const QVariant& value)
{
    if (key.isEmpty())
        return;
    QMutexLocker lock(&m_mutex);
    keepDamagedFileBeforeWriting();
    m_settings->setValue(key, value);
    // Written at once: another process (or a crash) must not lose it.
    m_settings->sync();
}

void ConfigManager::remove(const QString& key)
{
    if (key.isEmpty())
        return;
    QMutexLocker lock(&m_mutex);
    keepDamagedFileBeforeWriting();
    m_settings->remove(key);
    m_settings->sync();
}

void ConfigManager::sync()
{
    QMutexLocker lock(&m_mutex);
    if (m_healthy)
        m_settings->sync();
}

} // namespace Services
} // namespace Zyn
