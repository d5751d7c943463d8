#include "GcpCopyFormatter.h"

#include <utilities/QtCompat.h>
#include <utilities/Utilities.h>
#include <utilities/Xml.h>

#include <QDomDocument>
#include <QDomElement>
#include <QDomNodeList>
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

bool isWhiteOnly(const QString& text)
{
    for (const QChar c : text) {
        if (!c.isSpace())
            return false;
    }
    return true;
}

// Plain ASCII decimal text read without the QString conversions; anything
// else (signs, blanks, locale forms, out of range) is left to the slow path.
bool readPlainNumber(const QString& field, double* value)
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

bool rowIsBlank(const QStringList& row)
{
    for (const QString& field : row) {
        if (!isWhiteOnly(field))
            return false;
    }
    return true;
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

// A hand-written form of the field pattern ('.*?'|".*?"|[^<separator>\t]+)
// taken match after match over one line: at each position a quoted text up
// to the next equal quote, else a run of characters that are neither the
// separator nor a tab. Works on the line in place, so the only strings made
// are the fields.
void tokenizeSpan(const QChar* s, int n, QChar separator, QStringList& fields)
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
            fields << QString(s + p, end - p); // a blank cell keeps its column
        } else {
            int a = p;
            int b = end;
            while (a < b && isStripChar(s[a]))
                ++a;
            while (b > a && isStripChar(s[b - 1]))
                --b;
            if (b > a)
                fields << QString(s + a, b - a);
        }
        p = end;
    }
}

} // namespace

QStringList GcpCopyFormatter::tokenizeLine(const QString& line, QChar separator)
{
    QStringList fields;
    tokenizeSpan(line.constData(), line.size(), separator, fields);
    return fields;
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
    QString text = m_text;
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    if (text.contains(QLatin1Char('\r'))) {
        text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
        text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    }

    // Lines are cut at line feeds in place; empty ones give no row.
    const QChar* s = text.constData();
    const int n = text.size();
    QStringList fields;
    for (int start = 0; start < n;) {
        int end = start;
        while (end < n && s[end] != QLatin1Char('\n'))
            ++end;
        if (end > start) {
            tokenizeSpan(s + start, end - start, m_separator, fields);
            // A line of blanks is an empty line, not a row of blank cells.
            if (!fields.isEmpty() && !rowIsBlank(fields))
                m_rows.append(fields);
            fields.clear();
        }
        start = end + 1;
    }
}

bool GcpCopyFormatter::readNumber(const QString& field, double* value) const
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

bool GcpCopyFormatter::isNumberField(const QString& field) const
{
    return readNumber(field, nullptr);
}

bool GcpCopyFormatter::isTrueText(const QString& text)
{
    return isTrueText(text, tr("true"));
}

bool GcpCopyFormatter::isTrueText(const QString& text, const QString& translatedTrue)
{
    const QString t = text.trimmed();
    return t.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0
        || t.compare(translatedTrue, Qt::CaseInsensitive) == 0
        || t.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0 || t == QLatin1String("1");
}

bool GcpCopyFormatter::isBoolText(const QString& text)
{
    const QString t = text.trimmed();
    return t.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0
        || t.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0
        || t.compare(tr("true"), Qt::CaseInsensitive) == 0 || t.compare(tr("false"), Qt::CaseInsensitive) == 0;
}

bool GcpCopyFormatter::matchHeaderRow(const QStringList& row, QMap<ColumnRole, int>* columns) const
{
    QMap<ColumnRole, int> found;
    for (int column = 0; column < row.size(); ++column) {
        const QString cell = normalizeHeader(row.at(column));
        if (cell.isEmpty())
            continue;
        for (ColumnRole role : kAllRoles) {
            if (found.contains(role))
                continue;
            if (m_normalizedSynonyms.value(role).contains(cell)) {
                found.insert(role, column);
                break; // one role per column
            }
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
    const int limit = qMin(m_rows.size(), kHeaderScanRows);
    for (int r = 0; r < limit; ++r) {
        const QStringList& row = m_rows.at(r);
        QMap<ColumnRole, int> columns;
        if (matchHeaderRow(row, &columns)) {
            m_columns = columns;
            m_headerFound = true;
            m_firstDataRow = r + 1;
            return;
        }
        int numeric = 0;
        for (const QString& field : row)
            numeric += isNumberField(field) ? 1 : 0;
        if (numeric >= 2)
            break; // data has begun; a header would have come before it
    }
    m_firstDataRow = 0;
    m_headerInferred = inferColumns();
}

bool GcpCopyFormatter::inferColumns()
{
    int width = 0;
    for (const QStringList& row : qAsConst(m_rows))
        width = qMax(width, row.size());

    // A column is numeric (or boolean) when most of its filled cells are.
    QVector<bool> numeric(width, false);
    QVector<bool> boolean(width, false);
    QVector<bool> filled(width, false);
    for (int c = 0; c < width; ++c) {
        int nonBlank = 0;
        int numbers = 0;
        int bools = 0;
        for (const QStringList& row : qAsConst(m_rows)) {
            if (c >= row.size() || isWhiteOnly(row.at(c)))
                continue;
            ++nonBlank;
            numbers += isNumberField(row.at(c)) ? 1 : 0;
            bools += isBoolText(row.at(c)) ? 1 : 0;
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
    while (first < m_rows.size() - 1 && first < kHeaderScanRows) {
        const QStringList& row = m_rows.at(first);
        bool anyNumber = false;
        for (int i = 0; i < coordCount; ++i) {
            const int c = coordStart + i;
            anyNumber = anyNumber || (c < row.size() && isNumberField(row.at(c)));
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

    // The values read here are kept for building the records.
    m_values.fill({0.0, 0.0, 0.0}, m_rows.size());
    for (int r = m_rows.size() - 1; r >= m_firstDataRow; --r) {
        const QStringList& row = m_rows.at(r);
        QString reason;
        for (int i = 0; i < 3 && reason.isEmpty(); ++i) {
            const int c = m_columns.value(kCoordRoles[i], -1);
            if (c < 0)
                continue;
            if (c >= row.size())
                reason = tr("without valid coordinates");
            else if (!readNumber(row.at(c), &m_values[r][i]))
                reason = tr("containing invalid data");
        }
        if (reason.isEmpty() && nameColumn >= 0 && (nameColumn >= row.size() || isWhiteOnly(row.at(nameColumn))))
            reason = tr("without a valid GCP name");
        if (reason.isEmpty())
            continue;
        if (!m_skipInvalidRows) {
            status.code = StatusInvalidRows;
            status.message = reason;
            return false;
        }
        m_rows.removeAt(r);
        m_values.remove(r);
    }
    m_validated = true;
    return true;
}

void GcpCopyFormatter::buildRecords(GcpList& gcps) const
{
    const int nameColumn = m_columns.value(NameRole, -1);
    const int checkColumn = m_columns.value(CheckpointRole, -1);
    DefaultGcpNameGenerator names(m_existingNames);
    const QString translatedTrue = tr("true");
    gcps.reserve(m_rows.size() - m_firstDataRow);
    for (int r = m_firstDataRow; r < m_rows.size(); ++r) {
        const QStringList& row = m_rows.at(r);
        GcpInfo gcp;
        gcp.name = nameColumn >= 0 ? row.at(nameColumn).trimmed() : names.next();
        const std::array<double, 3>& values = m_values.at(r);
        gcp.coord1 = values[0];
        gcp.coord2 = values[1];
        gcp.coord3 = values[2];
        if (checkColumn >= 0 && checkColumn < row.size())
            gcp.checkpoint = isTrueText(row.at(checkColumn), translatedTrue);
        gcps.append(gcp);
    }
}

bool GcpCopyFormatter::parse(GcpList& gcps, ParseStatus& status)
{
    gcps.clear();
    status = ParseStatus{};

    if (m_rows.isEmpty())
        tokenize();
    if (m_rows.isEmpty()) {
        status.code = StatusNoData;
        return false;
    }

    if (!m_headerResolved) {
        bool separated = false;
        for (const QStringList& row : qAsConst(m_rows))
            separated = separated || row.size() > 1;
        if (!separated) {
            // One field per line: the text uses a separator we do not split at.
            status.code = StatusCannotParse;
            status.message = separatorAdvice();
            return false;
        }
        resolveHeader();
    }
    if (!m_headerFound && !m_headerInferred) {
        status.code = StatusHeaderInvalid;
        status.message = separatorAdvice();
        return false;
    }
    if (!m_headerFound && !m_acceptWithoutHeader) {
        status.code = StatusNoHeader;
        status.message = tr("No header is found in the copied text.");
        return false;
    }
    if (m_firstDataRow >= m_rows.size()) {
        status.code = StatusNoData;
        return false;
    }
    if (!m_validated && !validateRows(status))
        return false;
    if (m_firstDataRow >= m_rows.size()) {
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
            case NameRole: {
                QString name = gcp.name;
                name.replace(tab, QLatin1Char(' '));
                name.replace(QLatin1Char('\n'), QLatin1Char(' '));
                name.replace(QLatin1Char('\r'), QLatin1Char(' '));
                // Quote a name holding a list separator so it stays one field.
                if (name.contains(QLatin1Char(',')) || name.contains(QLatin1Char(';'))) {
                    if (!name.contains(QLatin1Char('"')))
                        name = QLatin1Char('"') + name + QLatin1Char('"');
                    else if (!name.contains(QLatin1Char('\'')))
                        name = QLatin1Char('\'') + name + QLatin1Char('\'');
                }
                fields << name;
                break;
            }
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
