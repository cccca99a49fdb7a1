// The MESSAGE_IDs of journal entries, one for each kind of event.
//
// Each is a random 128-bit number (RFC 4122, version 4) in the journal's way of writing, 32 lower-case hexadecimal digits.
// Catalogs and people's filters hold them: once released, none is ever changed or given to another kind.
#pragma once

#include <string>

#include "ledger/event_kinds.h"

namespace dravik {

struct MessageId {
    const char *kind;
    const char *id;
};

constexpr MessageId MESSAGE_IDS[] = {
    {VOLUME_APPEARED, "4f411163ec02489c9eb0b1ab8cb9ce08"},
    {VOLUME_GONE, "ac1f30089d3b448dbc1c3a1ccac69ff7"},
    {VOLUME_UNSEEN, "fb61e1cd348d40cdbc288eefa5f3b175"},
    {VOLUME_SEEN_AGAIN, "4c89b98972d84e07b0015c253909153a"},
    {VOLUME_RENAMED, "df5bf0b222b74c8e81869e614304d76d"},
    {VOLUME_RESIZED, "a735a0c61f5742cc909e0da25425bdf3"},
    {VOLUME_WITHOUT_PATHS, "597d521d3c9547ac8b48beb100b7daea"},
    {PATH_APPEARED, "6448b676d61c4a4da69c90e408629294"},
    {PATH_GONE, "5c09ee914a424543aafa2b614d923eee"},
    {PATH_UNSEEN, "e7bbaf50e66442a1badaf8367aa4fe7c"},
    {PATH_SEEN_AGAIN, "844b07995a8c49dea5ebcfb967b4c8f5"},
    {PATH_MOVED, "a467ebc9925e43e98f21f11cc843e33a"},
    {PATH_CHECKER_STATE, "f441757bf538439599081a5829f7c192"},
    {PATH_DM_STATE, "3440bd3632a54d41b2ecbbc1806a29ef"},
    {PATH_ONLINE_STATE, "f6be5fa07ba24e5bb9ba60d95491ede6"},
    {PATH_GROUP_STATE, "7fec8a73e76d447f9edd986546bee706"},
    {PATH_FLAPPING, "2e56e8c8bedb4bebb190fec4f5a92b6f"},
    {PATH_STEADY, "a9b733d1d12f47cdbfde073fbd4a33e7"},
    {VOLUME_STATE, "cdff8026255f4959a1ea780de7a2c7e7"},
    {MONITOR_STARTED, "26b70141e3b74092b1fe558e27fdae56"},
    {OBSERVATION_QUALITY, "b4ffcbe8b4934c449be8ece11b95a22a"},
    {OPERATION, "235dfac1ad184d0b89ef949341eecfbf"},
};

// Of the entry that stands for incidents that were left out of the journal, being too many at once.
constexpr char LEFT_OUT_MESSAGE_ID[] = "dd3c814f3535418f9bff0a07c02b9d67";

// The MESSAGE_ID of the kind; "" for a kind that is not known.
const char *messageIdOf(const std::string &kind);

} // namespace dravik
