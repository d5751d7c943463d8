#include "GcpPasteFlow.h"

#include "GcpListFile.h"

#include <algorithm>

#include <uibase/TaskDialog.h>

#include <QSet>

namespace Zyn {
namespace AppGcp {

using UiBase::TaskDialog;

PasteOutcome GcpPasteFlow::paste(const QString& text, const QList<ColumnRole>& columnOrder,
                                 const QStringList& existingNames, QWidget* parent)
{
    PasteOutcome outcome;
    GcpCopyFormatter formatter(text, columnOrder);
    formatter.setExistingNames(existingNames);

    GcpList parsed;
    const GcpListParse engineList = GcpListFile::parse(text);
    if (engineList.recognized) {
        parsed = engineList.gcps;
        outcome.markersByName = engineList.markersByName;
        outcome.systemCode = engineList.systemCode;
        outcome.systemText = engineList.systemText;
    }
    // Each answer sets one flag, so the loop ends after at most three rounds;
    // the bound keeps a misbehaving parse from asking forever.
    for (int round = 0; round < 4 && !engineList.recognized; ++round) {
        if (formatter.parse(parsed, outcome.status))
            break;
        const ParseStatus& status = outcome.status;
        switch (status.code) {
        case GcpCopyFormatter::StatusNoData:
            TaskDialog::showErrorMessage(parent, tr("No GCP data have been found in the copied text. "));
            outcome.cancelled = true;
            return outcome;
        case GcpCopyFormatter::StatusCannotParse:
            TaskDialog::showErrorMessage(parent, tr("The copied text cannot be parsed correctly."),
                                         status.message.isEmpty() ? GcpCopyFormatter::separatorAdvice()
                                                                  : status.message);
            outcome.cancelled = true;
            return outcome;
        case GcpCopyFormatter::StatusInvalidRows:
            if (formatter.skipInvalidRows()
                || TaskDialog::showWarningMessage(parent, tr("Rows %1 will be skipped. Continue?").arg(status.message),
                                                  QString(), TaskDialog::YesNoButtons)
                    != TaskDialog::Yes) {
                outcome.cancelled = true;
                return outcome;
            }
            formatter.setSkipInvalidRows(true);
            break;
        case GcpCopyFormatter::StatusNoHeader:
            if (formatter.acceptWithoutHeader()
                || TaskDialog::showWarningMessage(parent, tr("No header is found in the copied text."),
                                                  tr("The GCP data will be pasted as is. Continue pasting anyway?"),
                                                  TaskDialog::YesNoButtons)
                    != TaskDialog::Yes) {
                outcome.cancelled = true;
                return outcome;
            }
            formatter.setAcceptWithoutHeader(true);
            break;
        case GcpCopyFormatter::StatusHeaderInvalid:
            TaskDialog::showErrorMessage(parent, tr("No coordinate columns were found in the copied text."),
                                         status.message);
            outcome.cancelled = true;
            return outcome;
        case GcpCopyFormatter::StatusNotPoints:
            TaskDialog::showErrorMessage(parent, tr("The copied text holds no survey points."), status.message);
            outcome.cancelled = true;
            return outcome;
        default:
            outcome.cancelled = true;
            return outcome;
        }
    }
    if (parsed.isEmpty()) {
        outcome.cancelled = true;
        return outcome;
    }

    // The table keeps names unique without regard to case.
    QSet<QString> inTable;
    for (const QString& name : existingNames)
        inTable.insert(name.trimmed().toCaseFolded());
    QSet<QString> pasted;
    QStringList skippedInTable, skippedRepeated;
    for (const GcpInfo& gcp : qAsConst(parsed)) {
        const QString key = gcp.name.trimmed().toCaseFolded();
        if (inTable.contains(key) || pasted.contains(key)) {
            ++outcome.skippedExisting;
            (inTable.contains(key) ? skippedInTable : skippedRepeated) << gcp.name;
            continue;
        }
        pasted.insert(key);
        outcome.gcps.append(gcp);
    }
    for (auto it = outcome.markersByName.begin(); it != outcome.markersByName.end();) {
        const bool kept = std::any_of(outcome.gcps.cbegin(), outcome.gcps.cend(),
                                      [&it](const GcpInfo& gcp) { return gcp.name == it.key(); });
        it = kept ? std::next(it) : outcome.markersByName.erase(it);
    }
    if (outcome.skippedExisting > 0) {
        QStringList why;
        if (!skippedInTable.isEmpty())
            why << tr("%1: already in the table").arg(skippedInTable.join(QStringLiteral(", ")));
        skippedRepeated.removeDuplicates();
        if (!skippedRepeated.isEmpty())
            why << tr("%1: more than once in the pasted text (the first is kept)").arg(skippedRepeated.join(QStringLiteral(", ")));
        TaskDialog::showWarningMessage(parent, tr("Some points were not pasted, as their names were taken."),
                                       why.join(QLatin1Char('\n')));
    }
    return outcome;
}

GcpList pasteGcps(const QString& text, const QList<ColumnRole>& columnOrder, const QStringList& existingNames,
                  QWidget* parent)
{
    return GcpPasteFlow::paste(text, columnOrder, existingNames, parent).gcps;
}

} // namespace AppGcp
} // namespace Zyn
