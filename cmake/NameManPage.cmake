# Gives a page made by help2man the name under which it is installed, and a heading that does not change with the date.
#   cmake -DFILE=... -DPAGE=... -P NameManPage.cmake
file(READ ${FILE} page)
string(TOUPPER ${PAGE} heading)
string(REGEX REPLACE "\n\\.TH [^\n]*" "\n.TH ${heading} \"1\" \"\" \"Quillon\" \"User Commands\"" page "${page}")
string(REGEX REPLACE "\n\\.SH NAME\n[^\n]* \\\\- " "\n.SH NAME\n${PAGE} \\\\- " page "${page}")
file(WRITE ${FILE} "${page}")
