# Renders the user guide: cmake -DCMARK=... -DGUIDE=guide.md -DSTYLE=guide.css -DOUTPUT=index.html -P render_guide.cmake
# cmark makes the body; each heading gets the id a link to it uses (lower case, blanks as
# hyphens, other punctuation dropped), each picture its description as a caption, and the page
# takes its title from the first heading.
execute_process(COMMAND ${CMARK} --smart ${GUIDE} OUTPUT_VARIABLE body RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "cmark could not render ${GUIDE}")
endif()

string(REGEX MATCHALL "<h[23]>[^<]*</h[23]>" headings "${body}")
foreach(heading ${headings})
  string(REGEX REPLACE "^<h([23])>([^<]*)</h[23]>$" "\\1" level "${heading}")
  string(REGEX REPLACE "^<h[23]>([^<]*)</h[23]>$" "\\1" text "${heading}")
  string(TOLOWER "${text}" id)
  string(REGEX REPLACE "&[a-z]+;" "" id "${id}")
  string(REGEX REPLACE "[^a-z0-9 -]" "" id "${id}")
  string(REPLACE " " "-" id "${id}")
  string(REPLACE "${heading}" "<h${level} id=\"${id}\">${text}</h${level}>" body "${body}")
endforeach()

# A picture alone in its paragraph is a figure, its description written under it.
string(REGEX REPLACE "<p><img src=\"([^\"]*)\" alt=\"([^\"]*)\" /></p>"
       "<figure><img src=\"\\1\" alt=\"\\2\" /><figcaption>\\2</figcaption></figure>" body "${body}")

string(REGEX MATCH "<h1>([^<]*)</h1>" title "${body}")
set(title "${CMAKE_MATCH_1}")
file(READ ${STYLE} style)
file(WRITE ${OUTPUT}.partial "<!DOCTYPE html>
<html lang=\"en\">
<head>
<meta charset=\"utf-8\">
<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">
<title>${title}</title>
<style>
${style}</style>
</head>
<body>
<main>
${body}</main>
</body>
</html>
")
file(RENAME ${OUTPUT}.partial ${OUTPUT})
