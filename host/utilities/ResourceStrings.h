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

// GCP editor command.
constexpr ResourceText GCP_COMMAND_TEXT{QT_TRANSLATE_NOOP("Zyn::Resource::String", "Survey Points"), true};
constexpr ResourceText GCP_COMMAND_TOOLTIP{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "Tie the project to the ground: enter surveyed control points and mark them on the photos"),
    true};

// GCP status of a table row.
constexpr ResourceText GCP_VALID_MSG{QT_TRANSLATE_NOOP("Zyn::Resource::String", "Ready for processing."), true};
constexpr ResourceText GCP_INSUFFICIENT_MARKERS_WARNING_MSG{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "Marked on fewer than 3 photos: mark it on at least 3 photos, ideally 4 or more."),
    true};
constexpr ResourceText GCP_DUPLICATE_COORD_ERROR_MSG{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "Same X and Y as another point: check the coordinates for a copy or typing error."),
    true};
constexpr ResourceText GCP_INVALID_RANGE_ERROR_MSG{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "Coordinates outside the area of the coordinate system: check the values and the "
                      "coordinate system, and that X and Y are not swapped."),
    true};
constexpr ResourceText GCP_PIXEL_VALUE_ERROR_MSG{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "A marker lies outside its photo, or on a photo no longer in the project: place it again."),
    true};
constexpr ResourceText GCP_PHOTO_PROXIMITY_WARNING_MSG{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "Marked on a photo taken too far away to show this point: check the photo and the point."),
    true};
constexpr ResourceText GCP_CHECKPOINT_WARNING_MSG{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "Fewer than 3 control points remain: this checkpoint is not used to position the project. "
                      "Keep at least 3 points as control points."),
    true};

// GCP survey files and the GCP editor's messages.
constexpr ResourceText GCP_SAVE_ERROR_TITLE{
    QT_TRANSLATE_NOOP("Zyn::Resource::String", "The survey points could not be saved"), true};
constexpr ResourceText GCP_AUTOSAVE_DAMAGED_MSG_FORMAT{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "The survey points saved for these photos could not be read. The file was kept as \"%1\"; "
                      "the editor starts empty."),
    true};
constexpr ResourceText GCP_DUPLICATE_NAMES_MSG_FORMAT{
    QT_TRANSLATE_NOOP("Zyn::Resource::String",
                      "Some points shared a name with another point; each keeps its own markers under a new name: %1"),
    true};

} // namespace String
} // namespace Resource
} // namespace Zyn
