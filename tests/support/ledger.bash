# shellcheck shell=bash
# The ledger of the simulated host as texts. Loaded behind simulated_host.

# ledger SQL: its rows, a line each, columns parted by "|". Read as any other reader reads: the monitor may write meanwhile.
ledger() { sqlite3 -readonly -cmd '.timeout 5000' "$HOST/dumps/dravik.db" "$1"; }

# events [AFTER]: the events behind the number AFTER, a line each:
#   QUALITY KIND VOLUME[/PATH] FROM->TO WORKING/KNOWN CAUSE
events() {
    ledger "SELECT quality || ' ' || kind || ' ' || alias || CASE WHEN has_path THEN '/' || path_name ELSE '' END ||
                CASE WHEN state_from || state_to <> '' THEN ' ' || state_from || '->' || state_to ELSE '' END ||
                CASE WHEN alias <> '' THEN ' ' || paths_working || '/' || paths_known ELSE '' END ||
                CASE WHEN cause <> '' THEN ' ' || cause ELSE '' END
            FROM events WHERE number > ${1-0} ORDER BY number"
}

# last_event: the number of the newest event.
last_event() { ledger 'SELECT coalesce(max(number), 0) FROM events'; }

# observation: "QUALITY|REASON|VOLUMES|PATHS" of the last one.
observation() { ledger 'SELECT quality, reason, volumes, paths FROM observation'; }

# states: "ALIAS STATE PRESENCE" of each volume, gone ones as "ALIAS gone".
states() {
    ledger "SELECT alias || ' ' || CASE WHEN gone THEN 'gone' ELSE state || ' ' || presence END FROM volumes ORDER BY id"
}

# presences ALIAS: "PATH PRESENCE working|failed" of each of its paths.
presences() {
    ledger "SELECT name || ' ' || presence || CASE WHEN working THEN ' working' ELSE ' failed' END FROM paths
            WHERE volume = (SELECT id FROM volumes WHERE alias = '$1') ORDER BY id"
}

# Lines of the command log that the ledger has written.
ledger_complaints() { cli_log | grep -E '^ERROR (observe Ledger:|putLedgerAside )' || true; }
