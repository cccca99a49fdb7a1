# Reads what ldd says of programs and prints the path of each library and loader, each name once.

function once(path,    name) {
    name = path
    sub(/.*\//, "", name)
    if (!seen[name]++)
        print path
}

$2 == "=>" && $3 ~ /^\// { once($3) }
$1 ~ /^\// && $2 ~ /^\(/ { once($1) }
