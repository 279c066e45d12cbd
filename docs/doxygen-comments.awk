#!/usr/bin/awk -f
# Turns the headers' plain comments into Doxygen's: the opening block documents the file, as it is laid out; a block
# above a declaration documents it; a comment behind a declaration documents what stands before it.
BEGIN { opening = 1 }
opening && /^\/\// {
    if (NR == 1) print "/** \\file\n" substr($0, 4) "\n\\verbatim"
    else print substr($0, 4)
    next
}
opening { print "\\endverbatim */"; opening = 0 }
/^ *\/\/ / { sub(/\/\/ /, "/// "); gsub(/</, "\\<"); print; next }
/[;,}] +\/\/ / { sub(/\/\/ /, "///< "); print; next }
{ print }
