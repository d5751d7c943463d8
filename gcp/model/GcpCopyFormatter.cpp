#include "GcpCopyFormatter.h"

#include <utilities/Utilities.h>
#include <utilities/Xml.h>

#include <QDomDocument>
#include <QDomElement>
#include <QDomNodeList>
#include <QRegularExpression>
#include <QSet>

#include <charconv>
#include <cmath>

namespace Zyn {
namespace AppGcp {

const char* const GcpCopyFormatter::HEADER_SYNONYMS_FILE = "zynphoto_gcp.cfg";

namespace {

// How far down a header row is looked for (title lines may precede it).
constexpr int kHeaderScanRows = 10;

const ColumnRole kAllRoles[] = {NameRole, Coord1Role, Coord2Role, Coord3Role, CheckpointRole};
const ColumnRole kCoordRoles[] = {Coord1Role, Coord2Role, Coord3Role};

// Stands in for a doubled quote inside a quoted cell (a private-use code point).
const QChar kDoubledQuote(0xE000);

bool isStripChar(QChar c)
{
    // What the trimming pattern removes: ASCII white space and quotes.
    switch (c.unicode()) {
    case ' ': case '\t': case '\n': case '\v': case '\f': case '\r': case '"': case '\'':
        return true;
    default:
        return false;
    }
}

bool isWhiteOnly(const QStringRef& text)
{
    for (const QChar c : text) {
        if (!c.isSpace())
            return false;
    }
    return true;
}

// Plain ASCII decimal text read without the QString conversions; anything
// else (signs, blanks, locale forms, out of range) is left to the slow path.
bool readPlainNumber(const QStringRef& field, double* value)
{
    const int n = field.size();
    char buffer[64];
    if (n == 0 || n > int(sizeof buffer))
        return false;
    const QChar* s = field.constData();
    for (int i = 0; i < n; ++i) {
        const ushort u = s[i].unicode();
        if (u > 127)
            return false;
        buffer[i] = char(u);
    }
    const auto result = std::from_chars(buffer, buffer + n, *value);
    return result.ec == std::errc() && result.ptr == buffer + n;
}


// Header words of photo lists (file, attitude) and of pixel positions, in
// the normalized header form.
const char* const kPhotoWords[] = {"file", "filename", "image", "imagename", "photo", "photoname", "picture",
                                   "yaw", "pitch", "roll", "gimbalyaw", "gimbalpitch", "gimbalroll",
                                   "gimbalyawdegree", "gimbalpitchdegree", "gimbalrolldegree", "flightyaw",
                                   "flightyawdegree", "heading", "omega", "phi", "kappa"};
const char* const kPixelWords[] = {"pixelx", "pixely", "px", "py", "u", "v", "col", "column", "row", "imagex",
                                   "imagey", "pixelcol", "pixelcolumn", "pixelrow", "xpixel", "ypixel"};

bool isOneOf(const QString& normalized, const char* const* words, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        if (normalized == QLatin1String(words[i]))
            return true;
    }
    return false;
}

bool isPhotoFileName(const QStringRef& text)
{
    static const QRegularExpression pattern(QStringLiteral("\\.(jpe?g|tiff?|png|dng|raw|arw|cr2|cr3|nef|heic)$"),
                                            QRegularExpression::CaseInsensitiveOption);
    return pattern.match(text.trimmed()).hasMatch();
}

// Degrees written with a degree sign, minutes or seconds marks.
bool looksLikeDms(const QStringRef& text)
{
    bool digit = false;
    bool mark = false;
    for (const QChar c : text) {
        digit = digit || c.isDigit();
        mark = mark || c == QChar(0x00B0) || c == QLatin1Char('\'') || c == QLatin1Char('"') || c == QChar(0x2032)
               || c == QChar(0x2033);
    }
    return digit && mark;
}

QString quotedList(const QStringList& items)
{
    return items.join(QStringLiteral(", "));
}

} // namespace

GcpCopyFormatter::GcpCopyFormatter(const QString& text, const QList<ColumnRole>& columnOrder)
    : m_text(text),
      m_fieldPattern(QStringLiteral("('.*?'|\".*?\"|[^\\,\\t]+)")),
      m_order(columnOrder),
      m_synonyms(loadHeaderSynonyms()),
      m_locale(QLocale())
{
    if (m_order.isEmpty())
        m_order = {NameRole, Coord1Role, Coord2Role, Coord3Role, CheckpointRole};
    for (ColumnRole role : kAllRoles) {
        QStringList normalized;
        for (const QString& synonym : m_synonyms.value(role)) {
            const QString n = normalizeHeader(synonym);
            if (!n.isEmpty())
                normalized << n;
        }
        m_normalizedSynonyms.insert(role, normalized);
    }
}

HeaderSynonyms GcpCopyFormatter::builtInHeaderSynonyms()
{
    HeaderSynonyms synonyms;
    synonyms[NameRole] = QStringList{tr("gcp"), tr("pointname"), tr("point"), tr("id"), tr("name")};
    synonyms[Coord1Role] = QStringList{tr("longitude"), tr("long"), tr("lng"), tr("easting"), tr("coord1"), tr("x")};
    synonyms[Coord2Role] = QStringList{tr("latitude"), tr("lat"), tr("northing"), tr("coord2"), tr("y")};
    synonyms[Coord3Role] = QStringList{tr("altitude"), tr("alt"), tr("elevation"), tr("coord3"), tr("z")};
    synonyms[CheckpointRole] = QStringList{tr("checkpoints"), tr("checkpoint")};
    return synonyms;
}

HeaderSynonyms GcpCopyFormatter::loadHeaderSynonyms(const QString& fileName)
{
    QDomDocument doc;
    if (!Xml::loadXml(fileName, doc))
        return builtInHeaderSynonyms();
    const QDomElement headers = doc.documentElement().firstChildElement(QStringLiteral("headers"));
    if (headers.isNull())
        return builtInHeaderSynonyms();

    const QPair<ColumnRole, QString> elements[] = {
        {NameRole, QStringLiteral("gcpname")},   {Coord1Role, QStringLiteral("coord1")},
        {Coord2Role, QStringLiteral("coord2")},  {Coord3Role, QStringLiteral("coord3")},
        {CheckpointRole, QStringLiteral("checkpoints")},
    };
    HeaderSynonyms synonyms;
    int total = 0;
    for (const auto& element : elements) {
        QStringList names;
        const QDomElement roleElement = headers.firstChildElement(element.second);
        const QDomNodeList nodes = roleElement.elementsByTagName(QStringLiteral("name"));
        for (int i = 0; i < nodes.size(); ++i) {
            const QString text = nodes.at(i).toElement().text().trimmed();
            if (!text.isEmpty())
                names << text;
        }
        total += names.size();
        synonyms.insert(element.first, names);
    }
    // A file that names no header at all is as good as broken.
    return total > 0 ? synonyms : builtInHeaderSynonyms();
}

QString GcpCopyFormatter::separatorHint()
{
    const QString separator = Utilities::getListSeparatorInCurrentLocale();
    if (separator == QLatin1String(";"))
        return tr(" or semicolon-separated");
    if (separator == QLatin1String(","))
        return tr(" or comma-separated");
    return QString();
}

QString GcpCopyFormatter::separatorAdvice()
{
    return tr("Please make sure all row data are tab-separated%1.").arg(separatorHint());
}

QString GcpCopyFormatter::normalizeHeader(const QString& text)
{
    QString out;
    out.reserve(text.size());
    int bracketDepth = 0;
    for (const QChar c : text) {
        const ushort u = c.unicode();
        if (u == '(' || u == '[' || u == '{') {
            ++bracketDepth;
        } else if (u == ')' || u == ']' || u == '}') {
            if (bracketDepth > 0)
                --bracketDepth;
        } else if (bracketDepth == 0 && c.isLetterOrNumber()) {
            out += c;
        }
    }
    return out.toCaseFolded();
}

namespace {

struct FieldSpan {
    int start;
    int length;
};

// A hand-written form of the field pattern ('.*?'|".*?"|[^<separator>\t]+)
// taken match after match over one line: at each position a quoted text up
// to the next equal quote, else a run of characters that are neither the
// separator nor a tab. Fields are recorded as spans (offset added), so no
// string is made per cell.
void tokenizeSpan(const QChar* s, int n, QChar separator, int offset, QVector<FieldSpan>& fields)
{
    const QChar tab = QLatin1Char('\t');
    int p = 0;
    while (p < n) {
        const QChar c = s[p];
        int end = -1; // one past the match
        if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            for (int q = p + 1; q < n; ++q) {
                if (s[q] == c) {
                    end = q + 1;
                    break;
                }
            }
        }
        if (end < 0) {
            if (c == separator || c == tab) {
                ++p;
                continue;
            }
            end = p + 1;
            while (end < n && s[end] != separator && s[end] != tab)
                ++end;
        }

        bool blank = true;
        for (int i = p; i < end && blank; ++i)
            blank = s[i].isSpace();
        if (blank) {
            fields.append({offset + p, end - p}); // a blank cell keeps its column
        } else {
            int a = p;
            int b = end;
            while (a < b && isStripChar(s[a]))
                ++a;
            while (b > a && isStripChar(s[b - 1]))
                --b;
            // Doubled quotes and nothing else are still a field of quotes only.
            bool quotesOnly = true;
            for (int i = a; i < b && quotesOnly; ++i)
                quotesOnly = s[i] == kDoubledQuote;
            if (!quotesOnly)
                fields.append({offset + a, b - a});
        }
        p = end;
    }
}

// A quote doubled inside a cell ("12 deg 30' 5.10"" N") is one quote
// character of the cell: kept as a stand-in so the field stays whole, given
// back when the name is read.
void markDoubledQuotes(QString& text, QChar separator)
{
    if (!text.contains(QLatin1String("\"\"")))
        return;
    for (int k = 1; k + 2 < text.size(); ++k) {
        const QChar before = text.at(k - 1);
        const QChar after = text.at(k + 2);
        if (text.at(k) == QLatin1Char('"') && text.at(k + 1) == QLatin1Char('"') && !before.isSpace()
            && before != separator && before != QLatin1Char('"') && after != separator
            && after != QLatin1Char('\t') && after != QLatin1Char('\n')) {
            text.replace(k, 2, kDoubledQuote);
        }
    }
}

// What a paste makes of one name cell written between tabs, in the mode of
// the given separator: the fields it yields, stand-ins given back.
QStringList readBackCell(const QString& cell, QChar separator)
{
    QString line = QStringLiteral("x\t") + cell + QStringLiteral("\tx");
    markDoubledQuotes(line, separator);
    QStringList fields = GcpCopyFormatter::tokenizeLine(line, separator);
    for (QString& field : fields)
        field.replace(kDoubledQuote, QLatin1Char('"'));
    return fields.mid(1, fields.size() - 2);
}

// The cell a name is copied as: the first form a paste reads back as the
// name itself in either list-separator mode; failing that, a form that reads
// back as one non-blank field, so the row stays whole whatever the name holds.
QString copiedNameCell(QString name)
{
    name.replace(QLatin1Char('\t'), QLatin1Char(' '));
    name.replace(QLatin1Char('\n'), QLatin1Char(' '));
    name.replace(QLatin1Char('\r'), QLatin1Char(' '));
    const auto readsAs = [](const QString& cell, const QString& text) {
        const QStringList wanted{text};
        return !text.trimmed().isEmpty() && readBackCell(cell, QLatin1Char(',')) == wanted
            && readBackCell(cell, QLatin1Char(';')) == wanted;
    };
    QString doubled = name;
    doubled.replace(QLatin1Char('"'), QLatin1String("\"\""));
    const QString forms[] = {name, QLatin1Char('"') + name + QLatin1Char('"'),
                             QLatin1Char('"') + doubled + QLatin1Char('"'), QLatin1Char('\'') + name + QLatin1Char('\'')};
    for (const QString& cell : forms) {
        if (readsAs(cell, name))
            return cell;
    }
    // Quotes the paste would strip or pair up become primes, which it keeps.
    QString safe = name;
    safe.replace(QLatin1Char('"'), QChar(0x2033));
    safe.replace(QLatin1Char('\''), QChar(0x2032));
    safe = safe.trimmed();
    if (safe.isEmpty())
        safe = QStringLiteral("?");
    const QString quoted = QLatin1Char('"') + safe + QLatin1Char('"');
    return readsAs(safe, safe) ? safe : quoted;
}

} // namespace

QStringList GcpCopyFormatter::tokenizeLine(const QString& line, QChar separator)
{
    QVector<FieldSpan> spans;
    tokenizeSpan(line.constData(), line.size(), separator, 0, spans);
    QStringList fields;
    for (const FieldSpan& span : qAsConst(spans))
        fields << line.mid(span.start, span.length);
    return fields;
}

QStringRef GcpCopyFormatter::field(int row, int column) const
{
    const Span& span = m_fields.at(m_rowSpans.at(row).first + column);
    return QStringRef(&m_clean, span.start, span.length);
}

QList<QStringList> GcpCopyFormatter::rows() const
{
    QList<QStringList> out;
    for (int r = 0; r < m_rowSpans.size(); ++r) {
        QStringList row;
        for (int c = 0; c < rowSize(r); ++c)
            row << field(r, c).toString();
        out << row;
    }
    return out;
}

void GcpCopyFormatter::tokenize()
{
    const QString separator = Utilities::getListSeparatorInCurrentLocale();
    if (separator == QLatin1String(";"))
        m_semicolonMode = true;
    else if (separator == QLatin1String(","))
        m_semicolonMode = false;
    else
        m_semicolonMode = QLocale::system().decimalPoint() == QLatin1Char(',');
    m_separator = m_semicolonMode ? QLatin1Char(';') : QLatin1Char(',');
    m_fieldPattern = QStringLiteral("('.*?'|\".*?\"|[^\\%1\\t]+)").arg(m_separator);

    // Clipboard text from other systems: a byte-order mark and CR or CRLF
    // line ends would otherwise stick to the first and last fields.
    m_clean = m_text;
    if (m_clean.startsWith(QChar(0xFEFF)))
        m_clean.remove(0, 1);
    if (m_clean.contains(QLatin1Char('\r'))) {
        m_clean.replace(QLatin1String("\r\n"), QLatin1String("\n"));
        m_clean.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    }
    markDoubledQuotes(m_clean, m_separator);

    // Lines are cut at line feeds in place; empty ones give no row.
    const QChar* s = m_clean.constData();
    const int n = m_clean.size();
    QVector<FieldSpan> spans;
    for (int start = 0; start < n;) {
        int end = start;
        while (end < n && s[end] != QLatin1Char('\n'))
            ++end;
        if (end > start) {
            spans.clear();
            tokenizeSpan(s + start, end - start, m_separator, start, spans);
            // A line of blanks is an empty line, not a row of blank cells.
            bool blank = true;
            for (const FieldSpan& span : qAsConst(spans))
                blank = blank && isWhiteOnly(QStringRef(&m_clean, span.start, span.length));
            if (!blank) {
                m_rowSpans.append({m_fields.size(), spans.size()});
                for (const FieldSpan& span : qAsConst(spans))
                    m_fields.append({span.start, span.length});
            }
        }
        start = end + 1;
    }
}

bool GcpCopyFormatter::readNumber(const QStringRef& field, double* value) const
{
    bool ok = false;
    double v = 0.0;
    ok = readPlainNumber(field, &v);
    if (!ok)
        v = field.toDouble(&ok);
    if (!ok)
        v = m_locale.toDouble(field.trimmed(), &ok);
    if (!ok || !std::isfinite(v))
        return false;
    if (value)
        *value = v;
    return true;
}

bool GcpCopyFormatter::isNumberField(const QStringRef& field) const
{
    return readNumber(field, nullptr);
}

bool GcpCopyFormatter::isTrueText(const QStringRef& text)
{
    return isTrueText(text, tr("true"));
}

bool GcpCopyFormatter::isTrueText(const QStringRef& text, const QString& translatedTrue)
{
    const QStringRef t = text.trimmed();
    return t.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0
        || t.compare(translatedTrue, Qt::CaseInsensitive) == 0
        || t.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0 || t == QLatin1String("1");
}

bool GcpCopyFormatter::isBoolText(const QStringRef& text)
{
    const QStringRef t = text.trimmed();
    return t.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0
        || t.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0
        || t.compare(tr("true"), Qt::CaseInsensitive) == 0 || t.compare(tr("false"), Qt::CaseInsensitive) == 0;
}

bool GcpCopyFormatter::matchHeaderRow(int row, QMap<ColumnRole, int>* columns) const
{
    // When two columns fit a role (a "Code" beside a "GCP Label"), the one
    // named by the earlier synonym wins.
    QMap<ColumnRole, int> found;
    QMap<ColumnRole, int> rank;
    for (int column = 0; column < rowSize(row); ++column) {
        const QString cell = normalizeHeader(field(row, column).toString());
        if (cell.isEmpty())
            continue;
        for (ColumnRole role : kAllRoles) {
            const int at = m_normalizedSynonyms.value(role).indexOf(cell);
            if (at < 0)
                continue;
            if (!found.contains(role) || at < rank.value(role)) {
                found.insert(role, column);
                rank.insert(role, at);
            }
            break; // one role per column
        }
    }
    int coords = 0;
    for (ColumnRole role : kCoordRoles)
        coords += found.contains(role) ? 1 : 0;
    if (coords < 2)
        return false;
    *columns = found;
    return true;
}

void GcpCopyFormatter::resolveHeader()
{
    m_headerResolved = true;
    const int limit = qMin(rowCount(), kHeaderScanRows);
    for (int r = 0; r < limit; ++r) {
        QMap<ColumnRole, int> columns;
        if (matchHeaderRow(r, &columns)) {
            m_columns = columns;
            m_headerFound = true;
            m_firstDataRow = r + 1;
            return;
        }
        int numeric = 0;
        for (int c = 0; c < rowSize(r); ++c)
            numeric += isNumberField(field(r, c)) ? 1 : 0;
        if (numeric >= 2)
            break; // data has begun; a header would have come before it
    }
    m_firstDataRow = 0;
    m_headerInferred = inferColumns();
}

bool GcpCopyFormatter::inferColumns()
{
    int width = 0;
    for (const RowSpan& row : qAsConst(m_rowSpans))
        width = qMax(width, row.count);

    // A column is numeric (or boolean) when most of its filled cells are.
    QVector<bool> numeric(width, false);
    QVector<bool> boolean(width, false);
    QVector<bool> filled(width, false);
    for (int c = 0; c < width; ++c) {
        int nonBlank = 0;
        int numbers = 0;
        int bools = 0;
        for (int r = 0; r < rowCount(); ++r) {
            if (c >= rowSize(r))
                continue;
            const QStringRef cell = field(r, c);
            if (isWhiteOnly(cell))
                continue;
            ++nonBlank;
            numbers += isNumberField(cell) ? 1 : 0;
            bools += isBoolText(cell) ? 1 : 0;
        }
        filled[c] = nonBlank > 0;
        numeric[c] = numbers > 0 && 2 * numbers >= nonBlank;
        boolean[c] = bools > 0 && 2 * bools >= nonBlank;
    }

    int runStart = -1;
    int runLength = 0;
    for (int wanted : {4, 3, 2}) {
        for (int c = 0; c < width && runStart < 0;) {
            if (!numeric[c]) {
                ++c;
                continue;
            }
            int e = c;
            while (e < width && numeric[e])
                ++e;
            if (e - c >= wanted) {
                runStart = c;
                runLength = e - c;
            }
            c = e;
        }
        if (runStart >= 0)
            break;
    }
    if (runStart < 0)
        return false;

    QMap<ColumnRole, int> columns;
    int coordStart = runStart;
    for (int c = 0; c < runStart; ++c) {
        if (filled[c] && !numeric[c] && !boolean[c]) {
            columns.insert(NameRole, c);
            break;
        }
    }
    if (!columns.contains(NameRole) && runLength >= 4) {
        // Numeric point numbers: "1 <x> <y> <z>".
        columns.insert(NameRole, runStart);
        coordStart = runStart + 1;
        --runLength;
    }

    // The coordinates come in the order the table shows them.
    QList<ColumnRole> coordOrder;
    for (ColumnRole role : qAsConst(m_order)) {
        if (role >= Coord1Role && role <= Coord3Role && !coordOrder.contains(role))
            coordOrder << role;
    }
    for (ColumnRole role : kCoordRoles) {
        if (!coordOrder.contains(role))
            coordOrder << role;
    }
    const int coordCount = qMin(3, runLength);
    for (int i = 0; i < coordCount; ++i)
        columns.insert(coordOrder.at(i), coordStart + i);

    for (int c = 0; c < width; ++c) {
        if (boolean[c] && (c < coordStart || c >= coordStart + coordCount) && columns.value(NameRole, -1) != c) {
            columns.insert(CheckpointRole, c);
            break;
        }
    }
    m_columns = columns;

    // Leading lines without a single number in the coordinate columns are
    // an unrecognised header or a title, not data.
    int first = 0;
    while (first < rowCount() - 1 && first < kHeaderScanRows) {
        bool anyNumber = false;
        for (int i = 0; i < coordCount; ++i) {
            const int c = coordStart + i;
            anyNumber = anyNumber || (c < rowSize(first) && isNumberField(field(first, c)));
        }
        if (anyNumber)
            break;
        ++first;
    }
    m_firstDataRow = first;
    return true;
}

bool GcpCopyFormatter::validateRows(ParseStatus& status)
{
    const int nameColumn = m_columns.value(NameRole, -1);

    int geographic[3] = {0, 0, 0};
    for (int i = 0; i < 3; ++i)
        geographic[i] = degreeLimit(m_columns.value(kCoordRoles[i], -1));

    // The values read here are kept for building the records.
    m_values.fill({0.0, 0.0, 0.0}, rowCount());
    QVector<bool> keep(rowCount(), true);
    bool anyDropped = false;
    for (int r = rowCount() - 1; r >= m_firstDataRow; --r) {
        QString reason;
        for (int i = 0; i < 3 && reason.isEmpty(); ++i) {
            const int c = m_columns.value(kCoordRoles[i], -1);
            if (c < 0)
                continue;
            if (c >= rowSize(r))
                reason = tr("without valid coordinates");
            else if (!readNumber(field(r, c), &m_values[r][i]))
                reason = tr("containing invalid data");
            else if (geographic[i] > 0 && std::fabs(m_values[r][i]) > geographic[i])
                reason = geographic[i] == 90 ? tr("with a latitude outside \u00b190\u00b0")
                                             : tr("with a longitude outside \u00b1180\u00b0");
        }
        if (reason.isEmpty() && nameColumn >= 0 && (nameColumn >= rowSize(r) || isWhiteOnly(field(r, nameColumn))))
            reason = tr("without a valid GCP name");
        if (reason.isEmpty())
            continue;
        if (!m_skipInvalidRows) {
            status.code = StatusInvalidRows;
            status.message = reason;
            return false;
        }
        keep[r] = false;
        anyDropped = true;
    }
    if (anyDropped) {
        // Compacted once, so skipping many rows stays linear.
        int out = 0;
        for (int r = 0; r < rowCount(); ++r) {
            if (!keep.at(r))
                continue;
            m_rowSpans[out] = m_rowSpans.at(r);
            m_values[out] = m_values.at(r);
            ++out;
        }
        m_rowSpans.resize(out);
        m_values.resize(out);
    }
    m_validated = true;
    return true;
}

int GcpCopyFormatter::degreeLimit(int column) const
{
    // Columns the header names latitude or longitude hold degrees.
    const int header = headerRow();
    if (column < 0 || header < 0 || column >= rowSize(header))
        return 0;
    const QString name = normalizeHeader(field(header, column).toString());
    if (name == QLatin1String("latitude") || name == QLatin1String("lat"))
        return 90;
    if (name == QLatin1String("longitude") || name == QLatin1String("long") || name == QLatin1String("lon")
        || name == QLatin1String("lng"))
        return 180;
    return 0;
}

int GcpCopyFormatter::headerRow() const
{
    if (m_headerFound || m_firstDataRow > 0)
        return m_firstDataRow - 1;
    // Unresolved text: its first line when it holds no number.
    if (rowCount() == 0)
        return -1;
    for (int c = 0; c < rowSize(0); ++c) {
        if (isNumberField(field(0, c)))
            return -1;
    }
    return 0;
}

QString GcpCopyFormatter::coordinateColumnsText() const
{
    const int header = headerRow();
    QStringList names;
    for (ColumnRole role : kCoordRoles) {
        const int c = m_columns.value(role, -1);
        if (c < 0)
            continue;
        names << (header >= 0 && c < rowSize(header) ? field(header, c).toString() : tr("column %1").arg(c + 1));
    }
    return quotedList(names);
}

QString GcpCopyFormatter::headerInvalidMessage() const
{
    const int header = headerRow();
    QStringList cells;
    for (int c = 0; header >= 0 && c < rowSize(header); ++c)
        cells << field(header, c).toString();
    const QString found = header >= 0 ? tr("The first line names the columns %1, none of them X/Y/Z, "
                                           "Easting/Northing/Elevation or Longitude/Latitude/Altitude,")
                                            .arg(quotedList(cells))
                                      : tr("No line names the columns,");
    return found + tr(" and no two neighbouring columns hold numbers to read as coordinates. %1")
                       .arg(separatorAdvice());
}

bool GcpCopyFormatter::refuseNonPoints(ParseStatus& status) const
{
    const int header = headerRow();
    const QString noCoordinates = tr("no X/Y/Z or Easting/Northing/Elevation columns were found.");
    const auto refuse = [&status](const QString& message) {
        status.code = StatusNotPoints;
        status.message = message;
        return true;
    };

    // What the header says the columns are.
    QStringList photoCells;
    QStringList pixelCells;
    QSet<int> pixelColumns;
    for (int c = 0; header >= 0 && c < rowSize(header); ++c) {
        const QString raw = field(header, c).toString();
        const QString name = normalizeHeader(raw);
        const QString lower = raw.toLower();
        if (isOneOf(name, kPhotoWords, sizeof kPhotoWords / sizeof *kPhotoWords)) {
            photoCells << raw;
        } else if (isOneOf(name, kPixelWords, sizeof kPixelWords / sizeof *kPixelWords)
                   || lower.contains(QLatin1String("pixel")) || lower.contains(QLatin1String("(px)"))
                   || lower.contains(QLatin1String("[px]"))) {
            pixelCells << raw;
            pixelColumns.insert(c);
        }
    }
    const bool resolved = m_headerFound || m_headerInferred;
    QVector<int> coordColumns;
    int headerCoordinates = 0;
    for (ColumnRole role : kCoordRoles) {
        if (!resolved || !m_columns.contains(role))
            continue;
        coordColumns << m_columns.value(role);
        headerCoordinates += m_headerFound && !pixelColumns.contains(m_columns.value(role)) ? 1 : 0;
    }
    const int nameColumn = resolved ? m_columns.value(NameRole, -1) : -1;

    // The rows judged are those that would become points, so that what is
    // accepted once is accepted again when copied and pasted back.
    const int firstData = resolved ? m_firstDataRow : header + 1;
    int rows = 0;
    int usableRows = 0;
    int textRows = 0;
    int outOfRangeRows = 0;
    int indexRows = 0;
    int nonZeroIndex = 0;
    QString textExample;
    QString rangeExample;
    QMap<int, int> filesInColumn;
    QString fileExample;
    for (int r = firstData; r < rowCount(); ++r) {
        ++rows;
        int read = 0;
        bool anyText = false;
        bool outOfRange = false;
        double values[3] = {0, 0, 0};
        for (int c : qAsConst(coordColumns)) {
            if (c >= rowSize(r) || isWhiteOnly(field(r, c)))
                continue;
            if (!readNumber(field(r, c), &values[read])) {
                anyText = true;
                if (textExample.isEmpty())
                    textExample = field(r, c).toString();
                continue;
            }
            const int limit = degreeLimit(c);
            if (limit > 0 && std::fabs(values[read]) > limit) {
                outOfRange = true;
                if (rangeExample.isEmpty())
                    rangeExample = field(r, c).toString();
            }
            ++read;
        }
        textRows += anyText && read == 0 ? 1 : 0;
        outOfRangeRows += outOfRange ? 1 : 0;
        const bool usable = read == coordColumns.size() && !outOfRange
                            && (nameColumn < 0 || (nameColumn < rowSize(r) && !isWhiteOnly(field(r, nameColumn))));
        if (!usable)
            continue;
        ++usableRows;
        // Three equal small whole numbers: a row count, not a place.
        const bool index = read == 3 && values[0] == values[1] && values[1] == values[2]
                           && values[0] == std::floor(values[0]) && std::fabs(values[0]) < 1000;
        indexRows += index ? 1 : 0;
        nonZeroIndex += index && values[0] != 0 ? 1 : 0;
        for (int c = 0; c < rowSize(r); ++c) {
            if (isPhotoFileName(field(r, c))) {
                ++filesInColumn[c];
                if (fileExample.isEmpty())
                    fileExample = field(r, c).trimmed().toString();
            }
        }
    }
    bool fileColumn = false;
    for (auto it = filesInColumn.cbegin(); it != filesInColumn.cend(); ++it)
        fileColumn = fileColumn || 2 * it.value() >= usableRows;

    if (!photoCells.isEmpty() || fileColumn) {
        QStringList understood = photoCells + pixelCells;
        if (fileColumn)
            understood << tr("file names such as %1").arg(fileExample);
        const QString what = !pixelCells.isEmpty() ? tr("pixel positions in photos") : tr("a list of photos");
        return refuse(tr("This text looks like %1 (%2), not survey points: %3")
                          .arg(what, quotedList(understood),
                               headerCoordinates >= 2
                                   ? tr("its rows are photos, so its numbers are positions of or in photos, not "
                                        "surveyed coordinates.")
                                   : noCoordinates));
    }
    if (!pixelCells.isEmpty() && headerCoordinates < 2)
        return refuse(tr("This text looks like pixel positions in photos (%1), not survey points: %2")
                          .arg(quotedList(pixelCells), noCoordinates));
    if (rows == 0 || coordColumns.isEmpty())
        return false;
    if (textRows == rows) {
        const QString kind = looksLikeDms(QStringRef(&textExample)) ? tr("degree-minute-second text")
                                                                     : tr("text");
        return refuse(tr("The coordinate columns (%1) hold %2, not numbers (%3): no row can become a survey point.")
                          .arg(coordinateColumnsText(), kind, textExample));
    }
    if (outOfRangeRows == rows) {
        QStringList named;
        for (int c : qAsConst(coordColumns)) {
            if (degreeLimit(c) > 0)
                named << field(header, c).toString();
        }
        return refuse(tr("The columns %1 are named as degrees, but no row holds degrees there (%2 is beyond "
                         "\u00b190\u00b0 latitude or \u00b1180\u00b0 longitude): name the columns Easting and "
                         "Northing (or X and Y) if they are projected coordinates.")
                          .arg(quotedList(named), rangeExample));
    }
    if (usableRows > 0 && indexRows == usableRows && nonZeroIndex > 0)
        return refuse(tr("The coordinate columns (%1) hold the same small whole number three times in every row: "
                         "these look like row numbers or indices, not survey coordinates.")
                          .arg(coordinateColumnsText()));
    return false;
}

void GcpCopyFormatter::buildRecords(GcpList& gcps) const
{
    const int nameColumn = m_columns.value(NameRole, -1);
    const int checkColumn = m_columns.value(CheckpointRole, -1);
    DefaultGcpNameGenerator names(m_existingNames);
    const QString translatedTrue = tr("true");
    gcps.reserve(rowCount() - m_firstDataRow);
    for (int r = m_firstDataRow; r < rowCount(); ++r) {
        GcpInfo gcp;
        gcp.name = nameColumn >= 0 ? field(r, nameColumn).trimmed().toString() : names.next();
        gcp.name.replace(kDoubledQuote, QLatin1Char('"'));
        const std::array<double, 3>& values = m_values.at(r);
        gcp.coord1 = values[0];
        gcp.coord2 = values[1];
        gcp.coord3 = values[2];
        if (checkColumn >= 0 && checkColumn < rowSize(r))
            gcp.checkpoint = isTrueText(field(r, checkColumn), translatedTrue);
        gcps.append(gcp);
    }
}

bool GcpCopyFormatter::parse(GcpList& gcps, ParseStatus& status)
{
    gcps.clear();
    status = ParseStatus{};

    if (m_rowSpans.isEmpty())
        tokenize();
    if (m_rowSpans.isEmpty()) {
        status.code = StatusNoData;
        return false;
    }

    if (!m_headerResolved) {
        bool separated = false;
        for (const RowSpan& row : qAsConst(m_rowSpans))
            separated = separated || row.count > 1;
        if (!separated) {
            // One field per line: the text uses a separator we do not split at.
            status.code = StatusCannotParse;
            status.message = separatorAdvice();
            return false;
        }
        resolveHeader();
    }
    if (!m_kindChecked) {
        m_kindChecked = true;
        refuseNonPoints(m_refusal);
    }
    if (m_refusal.code != StatusNone) {
        status = m_refusal;
        return false;
    }
    if (!m_headerFound && !m_headerInferred) {
        status.code = StatusHeaderInvalid;
        status.message = headerInvalidMessage();
        return false;
    }
    if (!m_headerFound && !m_acceptWithoutHeader) {
        status.code = StatusNoHeader;
        status.message = tr("No header is found in the copied text.");
        return false;
    }
    if (m_firstDataRow >= rowCount()) {
        status.code = StatusNoData;
        return false;
    }
    if (!m_validated && !validateRows(status))
        return false;
    if (m_firstDataRow >= rowCount()) {
        status.code = StatusNoData; // every row was skipped
        return false;
    }
    buildRecords(gcps);
    return !gcps.isEmpty();
}

QString GcpCopyFormatter::format(const GcpList& gcps, const QList<ColumnRole>& order, const QStringList& columnTitles)
{
    const QList<ColumnRole> roles =
        order.isEmpty() ? QList<ColumnRole>{NameRole, Coord1Role, Coord2Role, Coord3Role, CheckpointRole} : order;
    const QChar tab = QLatin1Char('\t');
    QString text;
    QStringList titles;
    for (int i = 0; i < roles.size(); ++i)
        titles << columnTitles.value(i);
    text += titles.join(tab);
    text += QLatin1Char('\n');

    for (const GcpInfo& gcp : gcps) {
        QStringList fields;
        for (ColumnRole role : roles) {
            switch (role) {
            case NameRole:
                fields << copiedNameCell(gcp.name);
                break;
            case Coord1Role:
                fields << QString::number(gcp.coord1, 'g', 17);
                break;
            case Coord2Role:
                fields << QString::number(gcp.coord2, 'g', 17);
                break;
            case Coord3Role:
                fields << QString::number(gcp.coord3, 'g', 17);
                break;
            case CheckpointRole:
                fields << (gcp.checkpoint ? QStringLiteral("true") : QStringLiteral("false"));
                break;
            }
        }
        text += fields.join(tab);
        text += QLatin1Char('\n');
    }
    return text;
}

} // namespace AppGcp
} // namespace Zyn
