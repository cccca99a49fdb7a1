# Only looks whether the text can be understood: status 0, or 3 with a message. Needs conf_scan.awk.

function on_open(nr, i) { }
function on_close(nr, i) { }
function on_setting(nr, k, v) { }
function on_line(nr, stray) { }
END { walk_all() }
