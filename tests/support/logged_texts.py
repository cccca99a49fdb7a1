"""The texts that the source logs, one a line, sorted: logged_texts.py SRC. "..." stands for what differs, as in the
operator guide. What cannot be read as a call is an error."""
import pathlib
import re
import sys

# The calls and where their format stands among the arguments.
CALLS = {
    "dravik_log": 4,
    "DRAVIK_LOG": 1,
    "DRAVIK_LOG_AS": 2,
    "CAPTURE_LOG": 2,
    "ARRAY_LOG": 0,
    "ARRAY_LOG_AS": 1,
    "QUERY_LOG": 0,
    "LOG_CHANGE": 0,
    "LOG_FAILURE": 1,
    "logChange": 0,
}
CALL = re.compile(r"\b(" + "|".join(CALLS) + r")\(")
# The definitions of these calls, which hand on what they are given.
HANDED_ON = {"__VA_ARGS__", "format", "const char *format", "what", 'what " Error message: %s."', "..."}
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')


def without_remarks(source):
    return re.sub(r'("(?:[^"\\\n]|\\.)*")|//[^\n]*', lambda found: found[1] or "", source)


def arguments(source, start):
    """The arguments of the call whose parenthesis opens before `start`."""
    depth, begun, found, i = 0, start, [], start
    while True:
        character = source[i]
        if character == '"':
            i = LITERAL.match(source, i).end() - 1
        elif character in "([{":
            depth += 1
        elif character in ")]}" and depth > 0:
            depth -= 1
        elif depth == 0 and character in ",)":
            found.append(source[begun:i].strip())
            begun = i + 1
            if character == ")":
                return found
        i += 1


def shown(text):
    """A format as people read it: "..." for each value, and no newline at its end."""
    text = text.replace('\\"', '"').replace("\\n", "\n").rstrip("\n")
    return re.sub(r"%[0-9.l]*[a-z]", "...", text)


def texts_of(path):
    source = without_remarks(path.read_text(encoding="utf-8")).replace("\\\n", " ")
    for call in CALL.finditer(source):
        given = arguments(source, call.end())
        place = CALLS[call[1]]
        text = given[place] if place < len(given) else given[-1]
        if text in HANDED_ON or given == ["level", "..."]:
            continue
        if LITERAL.sub("", text).strip():
            sys.exit(f"{path}: no text of a log line: {text}")
        whole = "".join(LITERAL.findall(text))
        yield shown(whole + (" Error message: %s." if call[1] == "LOG_FAILURE" else ""))


texts = set()
for file in sorted(pathlib.Path(sys.argv[1]).rglob("*.[ch]*")):
    texts.update(texts_of(file))
print("\n".join(sorted(texts)))
