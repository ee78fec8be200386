# Gives a page made by help2man the name under which it is installed, a heading that does not change with the date,
# and examples line by line.
#   cmake -DFILE=... -DPAGE=... -P NameManPage.cmake
file(READ ${FILE} page)
string(TOUPPER ${PAGE} heading)
string(REGEX REPLACE "\n\\.TH [^\n]*" "\n.TH ${heading} \"1\" \"\" \"Quillon\" \"User Commands\"" page "${page}")
string(REGEX REPLACE "\n\\.SH NAME\n[^\n]* \\\\- " "\n.SH NAME\n${PAGE} \\\\- " page "${page}")
# Examples stay on lines of their own.
string(REGEX REPLACE "\n\\.IP\n((quillon[^\n]*\n)+)" "\n.IP\n.nf\n\\1.fi\n" page "${page}")
file(WRITE ${FILE} "${page}")
