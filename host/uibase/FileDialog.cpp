#include "FileDialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QThread>

namespace Zyn {
namespace UiBase {
namespace {

QMutex g_handlerMutex;
FileDialog::Handler g_handler;

bool canShowDialogs()
{
    return qobject_cast<QApplication*>(QCoreApplication::instance())
           && QThread::currentThread() == QCoreApplication::instance()->thread();
}

// "Survey files (*.xml *.XML);;All files (*)" -> "xml"
QString firstSuffix(const QString& filter)
{
    const QRegularExpression pattern(QStringLiteral("\\*\\.([A-Za-z0-9_]+)"));
    const QRegularExpressionMatch match = pattern.match(filter);
    return match.hasMatch() ? match.captured(1) : QString();
}

QFileDialog* makeDialog(const FileDialog::Request& request)
{
    auto* dialog = new QFileDialog(request.parent, request.caption, request.directory, request.filter);
    dialog->setObjectName(QStringLiteral("file_dialog"));
    // The widget dialog, so the same dialog runs everywhere (also under Xvfb).
    dialog->setOption(QFileDialog::DontUseNativeDialog, true);
    return dialog;
}

QStringList runDialog(QFileDialog* dialog)
{
    QPointer<QFileDialog> guard(dialog);
    const int result = dialog->exec();
    if (!guard)
        return {};
    const QStringList files = result == QDialog::Accepted ? dialog->selectedFiles() : QStringList();
    delete dialog;
    return files;
}

// The files and folders named in the dialog's selection, or nothing when a
// named entry does not exist.
QStringList existingSelection(QFileDialog* dialog)
{
    QStringList entries;
    const QStringList selected = dialog->selectedFiles();
    for (const QString& path : selected) {
        const QFileInfo info(path);
        if (!info.exists())
            return {};
        entries << QDir::cleanPath(info.absoluteFilePath());
    }
    return entries;
}

QStringList runFilesAndFoldersDialog(const FileDialog::Request& request)
{
    QFileDialog* dialog = makeDialog(request);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);

    QStringList chosen;
    // The standard "Open" button enters a single selected folder (as users
    // expect from a file dialog); "Choose selection" takes files and folders
    // as selected, or the folder being shown when nothing is selected.
    auto* box = dialog->findChild<QDialogButtonBox*>();
    if (box) {
        QPushButton* choose =
            box->addButton(QCoreApplication::translate("Zyn::UiBase::FileDialog", "Choose selection"),
                           QDialogButtonBox::ActionRole);
        choose->setObjectName(QStringLiteral("choose_selection_button"));
        QObject::connect(choose, &QPushButton::clicked, dialog, [dialog, &chosen] {
            QStringList entries = existingSelection(dialog);
            const QStringList selected = dialog->selectedFiles();
            const bool nothingSelected =
                selected.isEmpty()
                || (selected.size() == 1
                    && QDir::cleanPath(selected.first()) == QDir::cleanPath(dialog->directory().absolutePath()));
            if (nothingSelected)
                entries = QStringList{QDir::cleanPath(dialog->directory().absolutePath())};
            if (entries.isEmpty())
                return; // a typed name that does not exist: stay open
            chosen = entries;
            static_cast<QDialog*>(dialog)->done(QDialog::Accepted + 1);
        });
    }

    QPointer<QFileDialog> guard(dialog);
    const int result = dialog->exec();
    if (!guard)
        return {};
    QStringList answer;
    if (result == QDialog::Accepted + 1)
        answer = chosen;
    else if (result == QDialog::Accepted)
        answer = existingSelection(dialog);
    delete dialog;
    return answer;
}

QStringList answer(const FileDialog::Request& request)
{
    FileDialog::Handler handler;
    {
        QMutexLocker lock(&g_handlerMutex);
        handler = g_handler;
    }
    if (handler)
        return handler(request);

    if (!canShowDialogs()) {
        qWarning("FileDialog: cannot show \"%s\" outside the GUI thread", qPrintable(request.caption));
        return {};
    }

    switch (request.mode) {
    case FileDialog::OpenFile: {
        QFileDialog* dialog = makeDialog(request);
        dialog->setFileMode(QFileDialog::ExistingFile);
        dialog->setAcceptMode(QFileDialog::AcceptOpen);
        return runDialog(dialog);
    }
    case FileDialog::OpenFiles: {
        QFileDialog* dialog = makeDialog(request);
        dialog->setFileMode(QFileDialog::ExistingFiles);
        dialog->setAcceptMode(QFileDialog::AcceptOpen);
        return runDialog(dialog);
    }
    case FileDialog::SaveFile: {
        QFileDialog* dialog = makeDialog(request);
        dialog->setFileMode(QFileDialog::AnyFile);
        dialog->setAcceptMode(QFileDialog::AcceptSave);
        dialog->setDefaultSuffix(firstSuffix(request.filter));
        return runDialog(dialog);
    }
    case FileDialog::OpenFilesAndFolders:
        return runFilesAndFoldersDialog(request);
    }
    return {};
}

QStringList ask(FileDialog::Mode mode, QWidget* parent, const QString& caption, const QString& directory,
                const QString& filter)
{
    FileDialog::Request request;
    request.mode = mode;
    request.caption = caption;
    request.directory = directory;
    request.filter = filter;
    request.parent = parent;
    return answer(request);
}

} // namespace

QString FileDialog::getOpenFileName(QWidget* parent, const QString& caption, const QString& directory,
                                    const QString& filter)
{
    const QStringList files = ask(OpenFile, parent, caption, directory, filter);
    return files.isEmpty() ? QString() : files.first();
}

QStringList FileDialog::getOpenFileNames(QWidget* parent, const QString& caption, const QString& directory,
                                         const QString& filter)
{
    return ask(OpenFiles, parent, caption, directory, filter);
}

QString FileDialog::getSaveFileName(QWidget* parent, const QString& caption, const QString& directory,
                                    const QString& filter)
{
    const QStringList files = ask(SaveFile, parent, caption, directory, filter);
    return files.isEmpty() ? QString() : files.first();
}

QStringList FileDialog::getOpenFilesAndFolders(QWidget* parent, const QString& caption, const QString& directory,
                                               const QString& filter)
{
    return ask(OpenFilesAndFolders, parent, caption, directory, filter);
}

void FileDialog::setHandler(Handler handler)
{
    QMutexLocker lock(&g_handlerMutex);
    g_handler = std::move(handler);
}

void FileDialog::clearHandler()
{
    QMutexLocker lock(&g_handlerMutex);
    g_handler = nullptr;
}

} // namespace UiBase
} // namespace Zyn
