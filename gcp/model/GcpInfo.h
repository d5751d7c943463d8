#pragma once

#include <QColor>
#include <QList>
#include <QMap>
#include <QMetaType>
#include <QPoint>
#include <QSet>
#include <QString>
#include <QStringList>

#include <array>
#include <string>
#include <unordered_map>

namespace Zyn {
namespace AppGcp {

// One surveyed ground control point.
struct GcpInfo {
    QString name;
    double coord1 = 0.0; // easting / x, or longitude
    double coord2 = 0.0; // northing / y, or latitude
    double coord3 = 0.0; // altitude / elevation / z
    QColor colour;
    bool checkpoint = false;
    // Canonical braced UUID; fresh for every default-constructed record so
    // that records read twice never share an identity.
    QString id;

    GcpInfo();
};

// The placement of one GCP on one photo.
struct GcpMarker {
    QString key;
    QString image;   // full photo path (file name only in a survey file)
    QPoint pixel;    // x to the right, y downwards
    qint32 kind = 1;
};

using GcpList = QList<GcpInfo>;
// Markers of each GCP in the order they were added, keyed by GCP id or name.
using MarkerMap = QMap<QString, QList<GcpMarker>>;
// GCPs keyed by name, the form the survey writer takes.
using GcpMap = QMap<QString, GcpInfo>;
// GPS position (longitude, latitude, altitude) of each photo path.
using PhotoGpsMap = std::unordered_map<std::wstring, std::array<double, 3>>;

// "GCP<n>" for the smallest n >= 1 whose name is not in `names`, compared
// without regard to case.
QString makeDefaultGcpName(QStringList names);

// Hands out default names one after another without reusing any name it
// was given or has produced; the same answers as calling makeDefaultGcpName
// and appending each result, in linear time.
class DefaultGcpNameGenerator {
public:
    explicit DefaultGcpNameGenerator(const QStringList& takenNames = {});
    QString next();
    void reserve(const QString& name);

private:
    QSet<QString> m_taken; // case-folded
    int m_next = 1;
};

// Renames the later of points that share a name (without regard to case),
// "A" to "A (2)" and so on, so that no two points merge; answers
// "old -> new" for each rename.
QStringList makeNamesUnique(GcpList& gcps);

// Regroups markers keyed by GCP id into markers keyed by GCP name, the form
// the survey writer expects. Markers of ids not in `gcps` are dropped.
MarkerMap markersByName(const GcpList& gcps, const MarkerMap& markersById);

// The GCPs keyed by name. A later record with the same name replaces the
// earlier one, as the table keeps names unique.
GcpMap gcpMapByName(const GcpList& gcps);

} // namespace AppGcp
} // namespace Zyn

Q_DECLARE_METATYPE(Zyn::AppGcp::GcpInfo)
Q_DECLARE_METATYPE(Zyn::AppGcp::GcpMarker)
