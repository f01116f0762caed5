#pragma once

// The files of tools/report/, as tools/report/embed.cmake puts them into the program.

#include <string_view>

namespace tav3d::tools::report_assets
{

extern const std::string_view pageTemplate;
extern const std::string_view viewTemplate;
extern const std::string_view style;
extern const std::string_view pageScript; ///< of every page
extern const std::string_view viewScript; ///< of pages with a view

} // namespace tav3d::tools::report_assets
