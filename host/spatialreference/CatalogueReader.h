#pragma once

#include <spatialreference/SpatialReference.h>

#include <memory>
#include <string>
#include <vector>

namespace SpatialReference {

// One listed system as read from PROJ's database, before it becomes a
// definition object.
struct CatalogueEntry {
    std::string authName;
    std::string authCode;
    std::string name;
    std::string datum;
    UnitCode unit = UnitCode::Unknown;
    int type = TypeOther;
};

// Reads PROJ's database in bulk: PROJ's own CRS list (names, types,
// deprecation, celestial body) plus one SQL query per CRS table for the
// axis units and datum names, which PROJ's list does not carry. Building a
// PROJ object per system would cost seconds; this costs a few hundred
// milliseconds at most.
class CatalogueReader {
public:
    using Entries = std::shared_ptr<const std::vector<CatalogueEntry>>;

    // Every non-deprecated Earth system, in PROJ's order. DatabaseError
    // (with a reason in *error) when the database cannot be found or read.
    // The database does not change while the program runs, so the list is
    // read once per database path and shared afterwards.
    static Status readAll(Entries& entries, std::string* error = nullptr);

    // Forgets the shared list; the next readAll reads the database again.
    static void clearCache();

    // Maps a unit of PROJ's database ("EPSG", "9001") to our unit code.
    // unitType is the database's unit type ("length", "angle", ...), used to
    // tell other linear from other angular units.
    static UnitCode unitFromDatabase(const std::string& authName, const std::string& code, const std::string& unitType);

    // The linear unit of an ESRI WKT1 text (its last top-level UNIT), for
    // the few systems stored as text instead of as rows.
    static UnitCode unitFromWkt(const std::string& wkt);

    // Our definition type for one of PROJ's object types.
    static int typeFromProj(int projType);
};

} // namespace SpatialReference
