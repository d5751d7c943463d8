#pragma once

// Names under which the host keeps settings and configuration values.
namespace Zyn {
namespace Utilities {

// QSettings group of the workspace's own choices.
constexpr const char CFG_ELEM_GENERAL[] = "Workspace";

// Recently used coordinate systems (string lists, oldest first).
constexpr const char CFG_ELEM_COORDSYS_IN_MRU[] = "CoordSysInputRecent";
constexpr const char CFG_ELEM_COORDSYS_OUT_MRU[] = "CoordSysOutputRecent";

// Configuration-manager key and default of the recently-used list length.
constexpr const char CFG_ELEM_WS_COORDSYS_MRU_LIMIT[] = "workspace/coordsys_mru_limit";
constexpr int CFG_ELEM_WS_COORDSYS_MRU_LIMIT_DEFAULT_VALUE = 10;

// Configuration-manager key of the last folder a survey file was loaded from.
constexpr const char CFG_ELEM_GCP_LAST_DIRECTORY[] = "gcp/last_directory";

// Configuration-manager keys of the processing account.
constexpr const char CFG_ELEM_ACCOUNT_ENTITLEMENT_TYPE[] = "account/entitlement_type";
constexpr const char CFG_ELEM_ACCOUNT_AVAILABLE_CREDITS[] = "account/available_credits";
constexpr const char CFG_ELEM_ACCOUNT_CREDITS_PER_100_PHOTOS[] = "account/credits_per_100_photos";

// QSettings key (under CFG_ELEM_GENERAL) of the accepted terms and conditions.
constexpr const char CFG_ELEM_TERMS_ACCEPTED[] = "TermsAccepted";

} // namespace Utilities
} // namespace Zyn
