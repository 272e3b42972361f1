// Sections of `xum demo` that live in files of their own; each prints its
// part of the report to standard output.
#ifndef XUM_TOOLS_XUM_DEMO_SECTIONS_H
#define XUM_TOOLS_XUM_DEMO_SECTIONS_H

#include <filesystem>
#include <string>

namespace xum::tool {

// Files and streams: a sample copied through file, XOR, section and
// iostream-adapted streams.
void streams_section(const std::filesystem::path& samples);

// Localization: a small form translated through a dictionary in a
// temporary folder, before and after a translator's edit.
void localization_section();

// Archives: the samples packed, listed and read back by name, also through
// the file-stream fallback.
void archive_section(const std::filesystem::path& samples);

// Images: a compiled-in glyph made into a button glyph and tool bar lists.
void images_section();
// `xum demo --gui`: the report in a real window drawn by the Qt backend,
// with the compiled-in glyph on its tool bar and Close button. Runs until
// the window is closed (or close_after_ms have passed, when positive).
// Throws when there is no display; exists only when xum links XUMComps::Qt.
void show_demo_window(const std::string& report, int close_after_ms);

}  // namespace xum::tool

#endif  // XUM_TOOLS_XUM_DEMO_SECTIONS_H
