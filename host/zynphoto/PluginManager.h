#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

namespace Zyn {
namespace UiBase {
class IApp;
}

namespace Host {

// One plug-in file the host tried to load.
struct PluginRecord {
    QString path;
    QString className;      // from the plug-in's metadata
    QPointer<QObject> instance;
    UiBase::IApp* app = nullptr; // nullptr when loading failed
    QString error;          // why it failed; empty when loaded
};

// Finds and loads application plug-ins: shared libraries in
// <app dir>/../lib/zynphoto/plugins and in the folders of ZYN_PLUGIN_PATH
// (':'-separated). A plug-in must name ZYN_IAPP_IID in its metadata and
// implement IApp; anything else is reported and skipped.
class PluginManager : public QObject {
    Q_OBJECT
public:
    explicit PluginManager(QObject* parent = nullptr);
    ~PluginManager() override;

    static QStringList defaultSearchPaths();
    void setSearchPaths(const QStringList& folders);
    QStringList searchPaths() const { return m_searchPaths; }

    // Loads every plug-in of the search paths (each file once, by its
    // canonical path); answers how many loaded.
    int loadAll();
    // Loads one file; answers its record.
    PluginRecord loadFile(const QString& path);

    QList<PluginRecord> plugins() const { return m_plugins; }
    QList<UiBase::IApp*> apps() const;
    // One line per failed plug-in: "<file>: <reason>".
    QStringList errors() const;

signals:
    void pluginFailed(const QString& path, const QString& reason);

private:
    QStringList m_searchPaths;
    QList<PluginRecord> m_plugins;
};

} // namespace Host
} // namespace Zyn
