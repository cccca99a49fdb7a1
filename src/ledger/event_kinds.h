// The kinds of events, as people and machines read them.
#pragma once

namespace dravik {

constexpr char VOLUME_APPEARED[] = "volume_appeared";
constexpr char VOLUME_GONE[] = "volume_gone";
constexpr char VOLUME_UNSEEN[] = "volume_unseen";
constexpr char VOLUME_SEEN_AGAIN[] = "volume_seen_again";
constexpr char VOLUME_RENAMED[] = "volume_renamed";
constexpr char VOLUME_RESIZED[] = "volume_resized";
constexpr char VOLUME_WITHOUT_PATHS[] = "volume_without_paths";
constexpr char PATH_APPEARED[] = "path_appeared";
constexpr char PATH_GONE[] = "path_gone";
constexpr char PATH_UNSEEN[] = "path_unseen";
constexpr char PATH_SEEN_AGAIN[] = "path_seen_again";
constexpr char PATH_MOVED[] = "path_moved";
constexpr char PATH_CHECKER_STATE[] = "path_checker_state";
constexpr char PATH_DM_STATE[] = "path_dm_state";
constexpr char PATH_ONLINE_STATE[] = "path_online_state";
constexpr char PATH_GROUP_STATE[] = "path_group_state";
constexpr char PATH_FLAPPING[] = "path_flapping";
constexpr char PATH_STEADY[] = "path_steady";
constexpr char VOLUME_STATE[] = "volume_state";
constexpr char MONITOR_STARTED[] = "monitor_started";
constexpr char OBSERVATION_QUALITY[] = "observation_quality";
constexpr char OPERATION[] = "operation";

// All of them.
inline constexpr const char *EVENT_KINDS[] = {
    VOLUME_APPEARED,     VOLUME_GONE,    VOLUME_UNSEEN,        VOLUME_SEEN_AGAIN,
    VOLUME_RENAMED,      VOLUME_RESIZED, VOLUME_WITHOUT_PATHS, PATH_APPEARED,
    PATH_GONE,           PATH_UNSEEN,    PATH_SEEN_AGAIN,      PATH_MOVED,
    PATH_CHECKER_STATE,  PATH_DM_STATE,  PATH_ONLINE_STATE,    PATH_GROUP_STATE,
    PATH_FLAPPING,       PATH_STEADY,    VOLUME_STATE,         MONITOR_STARTED,
    OBSERVATION_QUALITY, OPERATION};

} // namespace dravik
