#pragma once

#include <QString>

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// Coordinate-reference-system catalogue backed by PROJ's database.
//
// Codes: "AUTHORITY:CODE" as PROJ writes them (EPSG:32633), except WGS 84
// longitude/latitude, listed once under the built-in code "LL84".
// Objects handed out are reference counted: Destroy() releases the caller's
// reference.
namespace SpatialReference {

enum Status : int {
    Success = 0,
    Failure = 1,
    NotFound = 2,
    Cancelled = 3,
    BufferTooSmall = 4,
    DatabaseError = 5,
};

// Units of measure. Values match the GCP table's unit table.
enum class UnitCode : int {
    Unknown = 0,
    Meter = 1,
    USSurveyFoot = 2,
    Foot = 4,
    Kilometer = 8,
    Centimeter = 16,
    Millimeter = 32,
    InternationalChain = 64,
    Link = 128,
    Yard = 256,
    Mile = 512,
    NauticalMile = 513,
    ClarkeFoot = 514,
    IndianFoot = 515,
    GermanLegalMetre = 516,
    OtherLinear = 999,
    Degree = 1001,
    Grad = 1002,
    ArcMinute = 1003,
    ArcSecond = 1004,
    Microradian = 1005,
    Mil = 1006,
    Radian = 1007,
    OtherAngular = 1999,
};

// Definition types, as the catalogue reports them.
enum DefinitionType : int {
    TypeProjected = 0,  // projected, geocentric or compound
    TypeOther = 1,      // vertical, engineering, other bodies: never listed for users
    TypeGeographic = 2, // geographic 2D or 3D
};

// Code formats understood by FormatConverter::IdToId_s.
enum CodeFormat : int {
    FormatCatalogueCode = 0, // "EPSG:32633", "LL84"
    FormatEpsgNumber = 1,    // "32633", "4326"
};

class Object {
public:
    void AddRef() const;
    // Releases one reference; the object is deleted with the last one.
    void Destroy() const;

protected:
    Object() = default;
    virtual ~Object() = default;

private:
    mutable std::atomic<int> m_refs{1};
};

// A unit name or other short text answered by the library.
class TagString {
public:
    const std::wstring& str() const { return m_text; }
    QString toQString() const { return QString::fromStdWString(m_text); }
    bool empty() const { return m_text.empty(); }
    void assign(const std::wstring& text) { m_text = text; }

private:
    std::wstring m_text;
};

class CoordinateReferenceSystemDefinition;

class DefinitionArray : public Object {
public:
    int GetCount() const;
    // A new reference to definition i (the caller calls Destroy()), or
    // nullptr when i is out of range.
    CoordinateReferenceSystemDefinition* Get(int i) const;

private:
    friend class CoordinateReferenceSystemDefinition;
    ~DefinitionArray() override;
    std::vector<CoordinateReferenceSystemDefinition*> m_items;
};

class CoordinateReferenceSystemDefinition : public Object {
public:
    // Called for each definition as it is read; set cancel to stop reading.
    // A status other than Success also stops reading. The definition is
    // lent: AddRef() it to keep it beyond the call.
    using LoadCallback = std::function<Status(CoordinateReferenceSystemDefinition*, bool& cancel)>;

    // Reads every listed system of the database. On success *out is a new
    // array (Destroy() it); on failure *out is nullptr and the status says
    // why (DatabaseError when PROJ's database cannot be opened).
    static Status LoadAll(DefinitionArray** out, const LoadCallback& callback = {});

    // A new definition for one catalogue code, or nullptr.
    static CoordinateReferenceSystemDefinition* Create(const QString& code);

    Status GetCode(std::wstring& code) const;
    Status GetDescription(std::wstring& description) const;
    Status GetUnitCode(UnitCode& unit) const;
    Status GetType(int& type) const;
    Status GetDatum(std::wstring& datum) const; // horizontal datum name, may be empty
    Status GetEpsg(std::wstring& epsg) const;   // EPSG number as text, may be empty

    // Convenience accessors on the same data.
    QString code() const;
    QString description() const;
    QString datum() const;
    QString epsg() const;
    UnitCode unit() const;
    int type() const;

    // PROJ's WKT2 (2019) text of the system; empty when PROJ cannot build it.
    QString wkt() const;
    // The system as a PROJ string (+proj=...); empty when it has none.
    QString projString() const;

private:
    friend class DefinitionArray;
    friend struct DefinitionFactory;
    CoordinateReferenceSystemDefinition() = default;
    ~CoordinateReferenceSystemDefinition() override = default;
    QString projText(bool wktForm) const;

    std::wstring m_code;
    std::wstring m_description;
    std::wstring m_datum;
    std::wstring m_epsg;
    std::string m_authName; // PROJ authority and code, for wkt()
    std::string m_authCode;
    UnitCode m_unit = UnitCode::Unknown;
    int m_type = TypeOther;
};

// Name of a unit: "Meter", "US Survey Foot", "Foot", "Kilometer", "Degree",
// "Grad", "Radian", ... Failure (and an empty name) for Unknown.
Status GetUnitCodeIdentifier(UnitCode unit, TagString& name);

// Inverse of GetUnitCodeIdentifier; Unknown when the name is not known.
UnitCode UnitCodeFromIdentifier(const QString& name);

namespace FormatConverter {
// Converts a code between formats into buffer (NUL-terminated, at most
// bufferLength wide characters including the NUL). FormatCatalogueCode to
// FormatEpsgNumber answers "" (and Success) for a system with no EPSG number.
Status IdToId_s(int sourceFormat, const wchar_t* code, int targetFormat, wchar_t* buffer, size_t bufferLength);
} // namespace FormatConverter

// Path of the PROJ database in use (empty when none was found).
QString databasePath();

} // namespace SpatialReference
