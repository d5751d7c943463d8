// Pasted text is whatever the clipboard holds. The parser must survive any
// text through every re-parse the paste dialogs allow, and what it accepts
// must copy and paste back to the same records.
#include <gcp/model/GcpCopyFormatter.h>

#include <QString>

#include <cstdint>
#include <cstdlib>

using namespace Zyn::AppGcp;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    // First byte: list separator and which flags the "user" grants up front.
    const uint8_t control = data[0];
    qputenv("ZYN_LIST_SEPARATOR", (control & 1) ? ";" : ",");
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data + 1), int(size - 1));

    GcpCopyFormatter formatter(text);
    formatter.setSkipInvalidRows(control & 2);
    GcpList gcps;
    ParseStatus status;
    for (int round = 0; round < 4 && !formatter.parse(gcps, status); ++round) {
        if (status.code == GcpCopyFormatter::StatusInvalidRows)
            formatter.setSkipInvalidRows(true);
        else if (status.code == GcpCopyFormatter::StatusNoHeader)
            formatter.setAcceptWithoutHeader(true);
        else
            break;
        if (round == 3)
            abort(); // the dialogs would have asked forever
    }
    if (gcps.isEmpty())
        return 0;
    if (status.code != 0)
        abort();

    // Copy and paste back: the same number of records and the same values
    // (names are only compared when they are free of characters the copy
    // format cannot carry).
    const QString copied = GcpCopyFormatter::format(gcps, {}, {"GCP Name", "X", "Y", "Z", "Checkpoint"});
    GcpCopyFormatter again(copied);
    GcpList back;
    ParseStatus backStatus;
    if (!again.parse(back, backStatus) || back.size() != gcps.size())
        abort();
    for (int i = 0; i < gcps.size(); ++i) {
        if (back[i].coord1 != gcps[i].coord1 || back[i].coord2 != gcps[i].coord2 || back[i].coord3 != gcps[i].coord3
            || back[i].checkpoint != gcps[i].checkpoint)
            abort();
    }
    return 0;
}
