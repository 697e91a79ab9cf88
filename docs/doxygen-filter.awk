# Doxygen reads only its own comment markers; the headers use plain // comments. This
# filter shows Doxygen the same text as its kind: a header's opening block describes
# the class it names first ("CFileIO: the library's stream..."), or else the header
# itself (never the first declaration below it);
# a comment line describes what follows it, and a comment behind a member that member.
# Backslashes (Windows paths) and at-signs are escaped so that they stay text.
function text(s)
{
    gsub(/\\/, "&&", s)
    gsub(/@/, "\\\\&", s)
    return s
}
NR == 1 {
    opening = 1
    if (match($0, /^\/\/ [A-Za-z_][A-Za-z0-9_]*:/)) {
        print "/** \\file */"
        print "//! \\class " substr($0, 4, RLENGTH - 4)
    } else
        print "//! \\file"
}
opening && /^\/\// {
    print "//!" text(substr($0, 3))
    next
}
{ opening = 0 }
/^[ \t]*\/\/( |$)/ {
    i = index($0, "//")
    print substr($0, 1, i - 1) "///" text(substr($0, i + 2))
    next
}
/^[^\/"]*[;,{][ \t]*\/\/ / {
    i = index($0, "//")
    print substr($0, 1, i - 1) "///<" text(substr($0, i + 2))
    next
}
{ print }
