#pragma once

#include <QList>
#include <QMutex>
#include <QString>
#include <QVariant>

#include <memory>

class QSettings;

namespace Zyn {
namespace Services {

// Typed configuration values with defaults, kept in an INI file in the
// user's configuration folder. Thread-safe. A value that is absent or of
// the wrong type answers the default.
class ConfigManager {
public:
    explicit ConfigManager(const QString& filePath);
    ~ConfigManager();

    QString filePath() const;

    bool contains(const QString& key) const;
    QVariant getValue(const QString& key, const QVariant& defaultValue = {}) const;
    int getInt(const QString& key, int defaultValue) const;
    bool getBool(const QString& key, bool defaultValue) const;
    double getDouble(const QString& key, double defaultValue) const;
    QString getString(const QString& key, const QString& defaultValue = {}) const;
    // A list written as "5,20" (or "5;20"); the default when any entry is
    // not an integer.
    QList<int> getIntList(const QString& key, const QList<int>& defaultValue = {}) const;

    // False when the file exists but could not be read or parsed; its
    // values then answer their defaults. The unreadable file is kept aside
    // (see backupPath()) before anything is written over it.
    bool isHealthy() const;
    QString backupPath() const;

    void setValue(const QString& key, const QVariant& value);
    void remove(const QString& key);
    void sync();

private:
    void keepDamagedFileBeforeWriting();

    mutable QMutex m_mutex;
    std::unique_ptr<QSettings> m_settings;
    bool m_healthy = true;
    bool m_damagedFileKept = false;
    QString m_backupPath;
};

} // namespace Services
} // namespace Zyn
