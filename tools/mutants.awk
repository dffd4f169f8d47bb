# Lists every small change that tools/mutate.sh may make to the C++ files given, one a line, separated by tabs:
# file, line, column, length of what goes, what comes, the line, what the change is.
# Texts, comments and preprocessor lines stay as they are.

function change(at, len, comes, what,    known) {
    known = ++seen[FILENAME, trimmed, what]
    if (known > 1)
        what = what " #" known  # the same change to an equal line further up is another one
    printf "%s\t%d\t%d\t%d\t%s\t%s\t%s\n", FILENAME, FNR, at, len, comes, trimmed, what
}

function swap(old, new, pad,    from, at) {
    old = pad old pad
    for (from = 1; (at = index(substr(code, from), old)) > 0; from = at + length(old)) {
        at += from - 1
        change(at + length(pad), length(old) - 2 * length(pad), new, old " -> " pad new pad " at " at - indent)
    }
}

# The line with the same length, and nothing in its texts.
function masked(line,    out, i, c, quote) {
    for (i = 1; i <= length(line); ++i) {
        c = substr(line, i, 1)
        if (quote != "") {
            if (c == "\\") { out = out "??"; ++i; continue }
            if (c == quote) quote = ""
            c = "?"
        } else if (c == "\"" || (c == "'" && substr(line, i - 1, 1) !~ /[0-9A-Fa-f]/)) {
            quote = c
            c = "?"
        } else if (c == "/" && substr(line, i + 1, 1) == "/")
            break
        out = out c
    }
    sub(/ +$/, "", out)
    return out
}

function numbers(    from, before, number, at) {
    for (from = 1; match(substr(code, from), /0[xX][0-9A-Fa-f]+|[0-9]+/); from = at + length(number)) {
        at = from + RSTART - 1
        number = substr(code, at, RLENGTH)
        before = substr(code, at - 1, 1)
        if (before !~ /[A-Za-z0-9_.]/ && substr(code, at + length(number), 1) !~ /[A-Za-z0-9_.]/)
            change(at, length(number), "(" number " + 1)", number " -> " number " + 1 at " at - indent)
    }
}

FNR == 1 { previous = ";" }
/^ *#/ { next }
{
    code = masked($0)
    if (code == "")
        next
    if (previous ~ /^ *break;$/ && code !~ /^ *\}/) {
        # The last one of a switch goes nowhere else.
        printf "%s\t%d\t%d\t%d\t%s\t%s\t%s\n", FILENAME, FNR - 1, match(previous, /[^ ]/), 6, "static_cast<void>(0);", "break;", \
            "dropped before " substr(code, match(code, /[^ ]/))
    }
    indent = match(code, /[^ ]/) - 1
    trimmed = substr($0, indent + 1)

    swap("==", "!=", " "); swap("!=", "==", " "); swap("<", "<=", " "); swap(">", ">=", " ")
    swap("<=", "<", " "); swap(">=", ">", " "); swap("&&", "||", " "); swap("||", "&&", " ")
    swap("+", "-", " "); swap("-", "+", " "); swap("*", "/", " "); swap("/", "*", " "); swap("%", "/", " ")
    swap("+=", "-=", " "); swap("-=", "+=", " "); swap("++", "--", ""); swap("<<", ">>", " "); swap(">>", "<<", " ")
    swap("&", "|", " ")
    swap("true", "false", ""); swap("false", "true", "")
    numbers()
    for (from = 1; match(substr(code, from), /[ (]!/); from = at + 2) {
        at = from + RSTART - 1
        if (substr(code, at + 2, 1) != "=")
            change(at + 1, 1, "", "without ! at " at - indent)
    }
    for (from = 1; match(substr(code, from), / \| [A-Za-z_:]+/); from = at + len) {
        at = from + RSTART - 1
        len = RLENGTH
        change(at, len, "", "without" substr(code, at, len))
    }
    if (match(code, /^ *return .+;$/) && code !~ /return (true|false|FALSE|0|nullptr|std::nullopt|\{\});$/)
        change(indent + 1, length(code) - indent, "return {};", "returns nothing")
    else if (match(code, /^ *if \(.*\)( \{)?$/)) {
        last = code ~ /\{$/ ? length(code) - 2 : length(code)
        change(indent + 5, last - indent - 5, "!(" substr($0, indent + 5, last - indent - 5) ")", "the opposite")
    } else if (FILENAME ~ /\.cpp$/ && previous ~ /[;{}):]$|else$/ &&
               code ~ /^ *([A-Za-z_*(][A-Za-z0-9_:.>()*\[\]-]*(\(.*\)| [-+|&*]?= .*)|\+\+[a-z_]+);$/)
        change(indent + 1, length(code) - indent, "static_cast<void>(0);", "dropped")
    previous = code
}
