// The parser of the multipath tool's listing, "velomux -ll".
//
//   mpatha (360000000000000000000000000000001) dm-3 KORVEL  ,QVX
//   size=10G features='0' hwhandler='0' wp=rw
//   |-+- policy='service-time 0' prio=50 status=active
//   | |- 1:0:0:1 sdb 8:16 active ready running
//   | `- 2:0:0:1 sdc 8:32 active ready running
//   `-+- policy='service-time 0' prio=10 status=enabled
//     `- 3:0:0:1 sdd 8:48 active ready running
//
// A header without an alias starts with the WWID, without parentheses. Lines that are neither a header of an
// accepted array nor part of its block (the tool's warnings, other vendors' devices) are passed over.
#pragma once

#include "common/result.h"
#include "struct/s_dravik.h"

// What ends the header line of an accepted array, as POSIX extended regular expressions: the maker's over
// SCSI, the maker's over NVMe, HITACHI, HUAWEI. They are tried in this order.
constexpr char DRAVIK_END_REG[] = "[ ]+KORVEL[ ]*,(QVX[ ]*)$";
constexpr char DRAVIK_NVME_END_REG[] = "[ ]+NVME[ ]*,(KORVELQVX[ ]*)$";
constexpr char RL_END_REG[] = "[ ]+HITACHI[ ]*,(.*[ ]*)$";
constexpr char HW_END_REG[] = "[ ]+HUAWEI[ ]*,(.*[ ]*)$";
// A line that starts with the name of a month; the parser does not consult it.
constexpr char DRAVIK_DATE_REG[] = "^(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sept|Oct|Nov|Dec).*$";

// Parses the listing `text` (cut in place) into the list of the head `head`, which the caller has emptied.
// `*lines` receives the number of lines, a text with a final newline counting one more; null and empty texts
// give 0 lines and EC_info_ok.
// Returns EC_info_ok; EC_parse_cmd_out for a malformed block, logged at level 0 as "Parse %dth line in
// 'velomux -ll' output failed." with the line's index from 0; EC_molloc_failed. After a failure the records
// before the failing one are valid; the one being filled is linked behind them as a spare node.
s_ecItems *parseQueryCmdResultList(char *text, s_dravik *head, unsigned int *lines);

// Parses the group and path lines lines[from] to lines[to - 1] of one device into the list of the head
// `paths`, which the caller has emptied; every line is at least 6 characters long. Resolves each path's host
// interface and target port. Results and log lines as above.
s_ecItems *processPathInfo(char **lines, unsigned int from, unsigned int to, s_path_dev *paths);

// The older parser: the same but for empty lines, which it drops, and for the vendor, which it takes for the
// maker's own even where it is HUAWEI or HITACHI. No query uses it.
s_ecItems *parseQueryCmdResult(char *text, s_dravik *head);
