#pragma once

#include <gcp/model/GcpCopyFormatter.h>

#include <QCoreApplication>

class QWidget;

namespace Zyn {
namespace AppGcp {

struct PasteOutcome {
    GcpList gcps;          // records to insert, in text order
    int skippedExisting = 0; // records dropped because their name was taken
    bool cancelled = false;  // the user stopped, or nothing could be pasted
    ParseStatus status;      // the last parse status
    // Text in the processing engines' layout brings markers (images by file
    // name) and may name its coordinate system.
    MarkerMap markersByName;
    QString systemCode;
    QString systemText;
};

// The GCP table's paste step: parses the text, asks the user through task
// dialogs how to go on after each problem, and drops records whose names
// the table (or an earlier pasted row) already holds.
class GcpPasteFlow {
    Q_DECLARE_TR_FUNCTIONS(Zyn::AppGcp::GcpPasteFlow)

public:
    static PasteOutcome paste(const QString& text, const QList<ColumnRole>& columnOrder,
                              const QStringList& existingNames, QWidget* parent);
};

// Just the records of GcpPasteFlow::paste.
GcpList pasteGcps(const QString& text, const QList<ColumnRole>& columnOrder, const QStringList& existingNames,
                  QWidget* parent);

} // namespace AppGcp
} // namespace Zyn
