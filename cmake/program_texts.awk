# awk -v form=manual|completion -v program=NAME -v version=TEXT -f program_texts.awk HELP
# Reads what a program's --help says and writes its manual page, or its completion for bash. An entry begins with two
# spaces. Its description stands at column 31, on a line of its own where the entry is too long.

/^Usage: / { usage = $0; sub(/^Usage: [^ ]+ */, "", usage); next }
/^Positionals:$/ { section = "ARGUMENTS"; next }
/^Options:$/ { section = "OPTIONS"; next }
/^$/ { next }
/^[^ ]/ { if (section == "") about = $0; else notes[++noteCount] = $0; next }
substr($0, 1, 30) == sprintf("%30s", "") { heads[count] = whole; descriptions[count] = substr($0, 31); next }
/^  / {
    whole = $0
    heads[++count] = substr($0, 1, 30)
    descriptions[count] = substr($0, 31)
    sections[count] = section
}
END {
    for (i = 1; i <= count; ++i) gsub(/^ +| +$/, "", heads[i])
    if (form == "manual") manual()
    else completion()
}

function roff(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    sub(/^[.']/, "\\\\\\&&", text)
    return text
}

function manual(    i) {
    printf ".TH %s 1 \"\" \"%s\" \"\"\n", toupper(program), version
    print ".SH NAME\n" roff(program) " \\- " roff(about)
    print ".SH SYNOPSIS\n.B " roff(program) "\n" roff(usage)
    for (i = 1; i <= count; ++i) {
        if (sections[i] != sections[i - 1]) print ".SH " sections[i]
        print ".TP\n" entry(heads[i]) "\n" roff(descriptions[i])
    }
    if (noteCount > 0) print ".SH NOTES"
    for (i = 1; i <= noteCount; ++i) print ".PP\n" roff(notes[i])
}

# The names in bold, what follows them as it is.
function entry(head,    names, rest) {
    names = head
    sub(/ .*/, "", names)
    rest = substr(head, length(names) + 1)
    gsub(/,/, ", ", names)
    return "\\fB" roff(names) "\\fR" roff(rest)
}

# What comes after the option's names: a file, a folder, another value or, with a flag, nothing.
function kindOf(head) {
    if (head !~ / /) return "flag"
    sub(/^[^ ]+ /, "", head)
    if (head ~ /^(Excludes|Needs): /) return "flag"
    if (head ~ /^FOLDER/) return "folder"
    return head ~ /^FILE/ ? "file" : "value"
}

function completion(    i, names, words, of) {
    for (i = 1; i <= count; ++i) {
        if (sections[i] != "OPTIONS") continue
        names = heads[i]
        sub(/ .*/, "", names)
        gsub(/,/, " ", names)
        words = words " " names
        gsub(/ /, "|", names)
        of[kindOf(heads[i])] = of[kindOf(heads[i])] "|" names
    }
    print "# Completion of " program " for bash, made from its --help."
    print "_complete_" name() "() {"
    print "    local word=${COMP_WORDS[COMP_CWORD]}"
    print "    COMPREPLY=()"
    print "    case ${COMP_WORDS[COMP_CWORD - 1]} in"
    branch(of["folder"], "mapfile -t COMPREPLY < <(compgen -d -- \"$word\")")
    branch(of["file"], "mapfile -t COMPREPLY < <(compgen -f -- \"$word\")")
    branch(of["value"], ":")
    print "    *)"
    print "        if [[ $word == -* ]]; then"
    print "            mapfile -t COMPREPLY < <(compgen -W \"" substr(words, 2) "\" -- \"$word\")"
    print "        else"
    print "            mapfile -t COMPREPLY < <(compgen -f -- \"$word\")"
    print "        fi ;;"
    print "    esac"
    print "}"
    print "complete -o filenames -F _complete_" name() " " program
}

function name(    text) {
    text = program
    gsub(/-/, "_", text)
    return text
}

function branch(options, command) {
    if (options != "") print "    " substr(options, 2) ") " command " ;;"
}
