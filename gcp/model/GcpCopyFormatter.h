#pragma once

#include <gcp/model/GcpInfo.h>

#include <QCoreApplication>
#include <QList>
#include <QLocale>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

#include <array>

namespace Zyn {
namespace AppGcp {

// What a column of the GCP table (and of pasted text) holds.
enum ColumnRole { NameRole = 0, Coord1Role = 1, Coord2Role = 2, Coord3Role = 3, CheckpointRole = 4 };

// Accepted header texts of each role.
using HeaderSynonyms = QMap<ColumnRole, QStringList>;

// Outcome of a parse: a code (see GcpCopyFormatter::StatusCode) and a text.
struct ParseStatus {
    qint32 code = 0;
    QString message;
};

// Turns spreadsheet text into GCP records, and GCP records into text that
// pastes back into the same records.
class GcpCopyFormatter {
    Q_DECLARE_TR_FUNCTIONS(Zyn::AppGcp::GcpCopyFormatter)

public:
    enum StatusCode {
        StatusNone = 0,
        StatusNoData = 1,
        StatusCannotParse = 2,
        StatusInvalidRows = 3,
        StatusNoHeader = 4,
        StatusHeaderInvalid = 6,
        StatusNotPoints = 7, // a list of something else (photos, pixels, indices)
    };

    // Name of the header-synonym file in the host's data folder.
    static const char* const HEADER_SYNONYMS_FILE;

    // An empty columnOrder means the table's default order: name, the three
    // coordinates, checkpoint. Loads the header synonyms.
    explicit GcpCopyFormatter(const QString& text, const QList<ColumnRole>& columnOrder = {});

    // Fills `gcps` (replacing its content) and answers true when records
    // were produced; otherwise `status` says why. May be called again after
    // a flag changed; tokenising and header resolution are not repeated.
    bool parse(GcpList& gcps, ParseStatus& status);

    // Drop invalid rows instead of failing with StatusInvalidRows.
    void setSkipInvalidRows(bool skip) { m_skipInvalidRows = skip; }
    bool skipInvalidRows() const { return m_skipInvalidRows; }
    // Build records from the inferred columns instead of failing with
    // StatusNoHeader.
    void setAcceptWithoutHeader(bool accept) { m_acceptWithoutHeader = accept; }
    bool acceptWithoutHeader() const { return m_acceptWithoutHeader; }
    // Names already in the table; generated names avoid them.
    void setExistingNames(const QStringList& names) { m_existingNames = names; }

    bool headerFound() const { return m_headerFound; }
    bool headerResolved() const { return m_headerResolved; }
    int firstDataRow() const { return m_firstDataRow; }
    bool semicolonMode() const { return m_semicolonMode; }
    // The rows and their field texts (header and title lines included).
    QList<QStringList> rows() const;
    int rowCount() const { return m_rowSpans.size(); }
    // Column index of each role found in the text (absent: not found).
    const QMap<ColumnRole, int>& columnMap() const { return m_columns; }
    QString fieldPattern() const { return m_fieldPattern; }
    const HeaderSynonyms& headerSynonyms() const { return m_synonyms; }
    const QList<ColumnRole>& columnOrder() const { return m_order; }

    static HeaderSynonyms builtInHeaderSynonyms();
    // The lists of the synonym file (a relative name is looked up in the
    // host's data folder); the built-in lists when it is missing, broken or
    // names no header at all.
    static HeaderSynonyms loadHeaderSynonyms(const QString& fileName = QString::fromLatin1(HEADER_SYNONYMS_FILE));

    // " or semicolon-separated", " or comma-separated" or empty, after the
    // locale's list separator.
    static QString separatorHint();
    // "Please make sure all row data are tab-separated<hint>."
    static QString separatorAdvice();

    // The fields of one line as the field pattern splits them (see docs).
    static QStringList tokenizeLine(const QString& line, QChar separator);

    // Header-comparison form: case folded, bracketed units and everything
    // that is not a letter or digit removed ("Elevation (m)" -> "elevation").
    static QString normalizeHeader(const QString& text);

    // Reads a coordinate field: C locale first, then the application's
    // locale (a decimal comma). Non-finite values do not count.
    bool readNumber(const QStringRef& field, double* value) const;
    bool readNumber(const QString& field, double* value) const { return readNumber(QStringRef(&field), value); }

    // Tab-separated text of `gcps`: a header row of columnTitles, then one
    // line per record with the fields in `order` (empty: the default order).
    static QString format(const GcpList& gcps, const QList<ColumnRole>& order, const QStringList& columnTitles);

    static bool isTrueText(const QStringRef& text);
    static bool isTrueText(const QStringRef& text, const QString& translatedTrue);
    static bool isBoolText(const QStringRef& text);

private:
    // Fields are kept as spans of the cleaned text, not as strings of their
    // own: a large paste then costs one string per record, not per cell.
    struct Span {
        int start;
        int length;
    };
    struct RowSpan {
        int first; // index into m_fields
        int count;
    };

    void tokenize();
    void resolveHeader();
    bool matchHeaderRow(int row, QMap<ColumnRole, int>* columns) const;
    bool inferColumns();
    bool validateRows(ParseStatus& status);
    bool refuseNonPoints(ParseStatus& status) const;
    QString headerInvalidMessage() const;
    int headerRow() const;
    int degreeLimit(int column) const;
    QString coordinateColumnsText() const;
    void buildRecords(GcpList& gcps) const;
    bool isNumberField(const QStringRef& field) const;
    int rowSize(int row) const { return m_rowSpans.at(row).count; }
    QStringRef field(int row, int column) const;

    QString m_text;
    QString m_clean; // m_text without byte-order mark, with LF line ends
    QVector<Span> m_fields;
    QVector<RowSpan> m_rowSpans;
    QVector<std::array<double, 3>> m_values; // coordinates of each row, once validated
    QString m_fieldPattern;
    QChar m_separator = QLatin1Char(',');
    bool m_validated = false;
    bool m_kindChecked = false;
    ParseStatus m_refusal; // why the text is no point list, once checked
    bool m_headerResolved = false;
    bool m_headerInferred = false; // columns found from the data
    QList<ColumnRole> m_order;
    HeaderSynonyms m_synonyms;
    QMap<ColumnRole, QStringList> m_normalizedSynonyms;
    QMap<ColumnRole, int> m_columns;
    bool m_headerFound = false;
    int m_firstDataRow = 0;
    bool m_skipInvalidRows = false;
    bool m_acceptWithoutHeader = false;
    bool m_semicolonMode = false;
    QStringList m_existingNames;
    QLocale m_locale; // the application's locale, for decimal commas
};

} // namespace AppGcp
} // namespace Zyn
