# Turns the comments of the public headers into what doxygen understands:
#   /// name   what it is                 a row of a table of parameters, with more rows indented
#   /// Returns what
#   // ---- Title ----                    a group of members, up to the next one or "private:"
# A backslash begins none of doxygen's commands. What is deleted is no part of the interface.

function closeGroup() {
    if (inGroup) {
        print "/// @}"
    }
    inGroup = 0
}

/ = delete;$/ {
    next
}
/\/\/\// {
    gsub(/\\/, "\\\\\\\\")
}
/^ *\/\/\/ [A-Za-z]+  +[^ ]/ {
    sub(/\/\/\/ /, "/// @param ")
    inTable = 1
}
inTable && /^ *\/\/\/ [^ @]/ {
    print "    ///"
    inTable = 0
}
!/^ *\/\/\// {
    inTable = 0
}
/^ *\/\/\/ Returns / {
    sub(/Returns /, "@return ")
}
/^ *\/\/ ---- .* ----$/ {
    closeGroup()
    gsub(/^ *\/\/ ---- | ----$/, "")
    print "/// @name " $0
    print "/// @{"
    inGroup = 1
    next
}
/^ *private:/ {
    closeGroup()
}
{
    print
}
