# Input filter of Doxygen. In the headers a comment stands for all declarations down to the next blank line or
# comment. Doxygen gives it to the first alone; here the others get a copy, on their own lines, so that line
# numbers stay. In the other pages Doxygen loses its way in a code span that holds a single quotation mark.

FILENAME ~ /\.md$/ {
    while ((at = index($0, "`\\\"`")) != 0)
        $0 = substr($0, 1, at - 1) "<code>\\\\&quot;</code>" substr($0, at + 4)
    print
    next
}

/^ *\/\/\/ / {
    text = (inComment ? text : "") " " substr($0, index($0, "///") + 4)
    inComment = 1
    first = 1
    depth = 0
    print
    next
}

{ inComment = 0 }

# What ends the group: a blank line, a comment of another kind, a change of access, a directive.
/^ *$/ || /^ *\/\// || /^ *(public|protected|private):/ || /^#/ { text = "" }

{
    begins = text != "" && !first && ended && depth == 0 && $0 !~ /\/\/\/</ && $0 !~ /^ *}/
    print (begins ? "/**" text " */ " : "") $0
    first = 0
    line = $0
    sub(/ *\/\/.*/, "", line)
    depth += gsub(/{/, "{", line) - gsub(/}/, "}", line)
    if (depth < 0) # the enclosing declaration ends
        text = ""
    ended = line ~ /[;}]$/
}
