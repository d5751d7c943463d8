#include "PluginManager.h"

#include <uibase/IApp.h>
#include <utilities/QtCompat.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>
#include <QSet>
#include <QtDebug>

namespace Zyn {
namespace Host {

PluginManager::PluginManager(QObject* parent)
    : QObject(parent)
    , m_searchPaths(defaultSearchPaths())
{
}

// Plug-ins stay loaded for the life of the process: their objects are
// referenced from the views until the very end.
PluginManager::~PluginManager() = default;

QStringList PluginManager::defaultSearchPaths()
{
    QStringList paths;
    if (QCoreApplication::instance())
        paths << QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../lib/zynphoto/plugins"));
    const QString env = qEnvironmentVariable("ZYN_PLUGIN_PATH");
    for (const QString& folder : env.split(QLatin1Char(':'), Compat::SkipEmptyParts)) {
        const QString clean = QDir::cleanPath(folder);
        if (!paths.contains(clean))
            paths << clean;
    }
    return paths;
}

void PluginManager::setSearchPaths(const QStringList& folders)
{
    m_searchPaths = folders;
}

int PluginManager::loadAll()
{
    QSet<QString> seen;
    for (const PluginRecord& r : m_plugins)
        seen.insert(QFileInfo(r.path).canonicalFilePath());
    int loaded = 0;
    for (const QString& folder : m_searchPaths) {
        const QDir dir(folder);
        if (!dir.exists())
            continue;
        const QFileInfoList files = dir.entryInfoList(QDir::Files | QDir::Readable, QDir::Name);
        for (const QFileInfo& file : files) {
            if (!QLibrary::isLibrary(file.fileName()))
                continue;
            const QString canonical = file.canonicalFilePath();
            if (seen.contains(canonical))
                continue;
            seen.insert(canonical);
            if (loadFile(file.absoluteFilePath()).app)
                ++loaded;
        }
    }
    return loaded;
}

PluginRecord PluginManager::loadFile(const QString& path)
{
    PluginRecord record;
    record.path = path;
    auto fail = [this, &record](const QString& reason) {
        record.error = reason;
        qWarning().noquote() << "zynphoto: plug-in" << record.path << "not loaded:" << reason;
        m_plugins << record;
        emit pluginFailed(record.path, reason);
        return record;
    };

    QPluginLoader loader(path);
    const QJsonObject meta = loader.metaData();
    if (meta.isEmpty()) {
        // Not a Qt plug-in, or a file the loader cannot even read.
        const QString why = loader.errorString();
        return fail(tr("not a valid plug-in file (%1)").arg(why));
    }
    const QString iid = meta.value(QStringLiteral("IID")).toString();
    record.className = meta.value(QStringLiteral("className")).toString();
    if (iid != QLatin1String(ZYN_IAPP_IID))
        return fail(tr("it implements \"%1\", not the application interface \"%2\"")
                        .arg(iid, QLatin1String(ZYN_IAPP_IID)));

    QObject* instance = loader.instance();
    if (!instance)
        return fail(tr("it cannot be loaded (%1)").arg(loader.errorString()));
    auto* app = qobject_cast<UiBase::IApp*>(instance);
    if (!app)
        return fail(tr("its object \"%1\" is not an application").arg(QLatin1String(instance->metaObject()->className())));

    record.instance = instance;
    record.app = app;
    m_plugins << record;
    app->initialize();
    return record;
}

QList<UiBase::IApp*> PluginManager::apps() const
{
    QList<UiBase::IApp*> result;
    for (const PluginRecord& r : m_plugins) {
        if (r.app && r.instance)
            result << r.app;
    }
    return result;
}

QStringList PluginManager::errors() const
{
    QStringList result;
    for (const PluginRecord& r : m_plugins) {
        if (!r.error.isEmpty())
            result << QStringLiteral("%1: %2").arg(QFileInfo(r.path).fileName(), r.error);
    }
    return result;
}

} // namespace Host
} // namespace Zyn
