#pragma once
// The page the picture server answers "GET / HTTP" with: a fixed header block and the page
// template with the script that keeps fetching the picture put in for "<%webshare%>". Apart
// from the program, so that each rule can be tried on any text.

#include <string>
#include <string_view>

#include "base/date_time.h"

namespace zr {

// The page template in the program folder, and the picture that is rewritten for every
// picture request.
inline constexpr const char* kWebShareTemplateFile = "webshare.html";
inline constexpr const char* kWebSharePictureFile = "zrel-stream.jpg";
inline constexpr const char* kWebSharePlaceholder = "<%webshare%>";

// Whether the request asks for the page: "GET / HTTP" anywhere in it, case-sensitive. Every
// other request, whatever it asks for, is answered with a picture.
bool IsPageRequest(std::string_view request);

// The browser's name for the server: the text from the sixth character after "Host:" up to the
// next carriage return, so one blank after the colon is taken for granted and a port stays in.
// Without "Host:" the same count runs from the start of the request. Empty where the count
// comes out negative (no carriage return after it).
std::string HostOf(std::string_view request);

// The status line and headers of the page, ended by the empty line: the date as month-day-year
// ("11-15-2026"), no length, "Connection: close".
std::string PageHeader(const DateTime& today);

// The script and the image that keep the picture coming from http://HOST/live.
std::string WebShareFragment(std::string_view host, std::string_view site);

// The template as the page's body: read field by field (a comma or a line end ends a field,
// leading blanks go, a leading double quote runs to the next one and the quotes go), the fields
// joined with nothing between them, and every "<%webshare%>" replaced by the fragment.
std::string FilledTemplate(std::string_view template_text, std::string_view fragment);

// The whole answer to a page request.
std::string PageResponse(std::string_view request, std::string_view template_text, const DateTime& today,
                         std::string_view site);

}  // namespace zr
