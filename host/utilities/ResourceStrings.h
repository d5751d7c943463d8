#pragma once

#include "ResourceText.h"

// The host's resource texts. Keys (not translated) and user texts (translated).
namespace Zyn {
namespace Resource {
namespace String {

// Settings keys.
constexpr ResourceText SETTINGS_GCP_COORD_SYSTEM_IN{"GcpCoordSystemInput", false};
constexpr ResourceText SETTINGS_GCP_COORD_SYSTEM_OUT{"GcpCoordSystemOutput", false};

// File names and extensions.
constexpr ResourceText SUPPORT_FILENAME_GCP{"gcp_survey.xml", false};
constexpr ResourceText FILE_EXTENSION_XML{"xml", false};

// Dashboard.
constexpr ResourceText DASHBOARD_AERIALCAPTURE_TEXT{QT_TRANSLATE_NOOP("Zyn::Resource::String", "Aerial Photos"), true};
constexpr ResourceText DASHBOARD_AERIALCAPTURE_TOOLTIP{
    QT_TRANSLATE_NOOP("Zyn::Resource::String", "Create a 3D project from drone photos"), true};

// File dialogs.
constexpr ResourceText OPEN_FILE_DIALOG_TITLE{QT_TRANSLATE_NOOP("Zyn::Resource::String", "Open File"), true};

// GCP loading.
constexpr ResourceText GCP_LOAD_ERROR_TITLE{
    QT_TRANSLATE_NOOP("Zyn::Resource::String", "Some ground control points could not be loaded"), true};
// %1: the GCP name, %2: the photo file name.
constexpr ResourceText GCP_LOAD_DUPLICATE_MARKERS_ERROR_MSG_FORMAT{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "GCP \"%1\" has more than one marker on photo \"%2\"; only the first one was kept."),
    true};

} // namespace String
} // namespace Resource
} // namespace Zyn
