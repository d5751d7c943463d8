#pragma once

#include <QString>
#include <QStringList>
#include <QWidget>

#include <functional>

namespace Zyn {
namespace UiBase {

// The host's file dialogs. Like TaskDialog they have a test seam, so no
// test ever blocks in a native dialog.
class FileDialog {
public:
    enum Mode { OpenFile = 0, OpenFiles = 1, SaveFile = 2, OpenFilesAndFolders = 3 };

    struct Request {
        Mode mode = OpenFile;
        QString caption;
        QString directory;
        QString filter; // filters joined with ";;"
        QWidget* parent = nullptr;
    };

    // An empty string (or list) when the user cancelled.
    static QString getOpenFileName(QWidget* parent, const QString& caption, const QString& directory,
                                   const QString& filter);
    static QStringList getOpenFileNames(QWidget* parent, const QString& caption, const QString& directory,
                                        const QString& filter);
    static QString getSaveFileName(QWidget* parent, const QString& caption, const QString& directory,
                                   const QString& filter);
    // Files and folders (folders are returned as they are; callers expand them).
    static QStringList getOpenFilesAndFolders(QWidget* parent, const QString& caption, const QString& directory,
                                              const QString& filter);

    // Test seam: the handler answers instead of a dialog.
    using Handler = std::function<QStringList(const Request&)>;
    static void setHandler(Handler handler);
    static void clearHandler();
};

} // namespace UiBase
} // namespace Zyn
