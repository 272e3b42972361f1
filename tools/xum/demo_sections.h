// Sections of `xum demo` that live in files of their own; each prints its
// part of the report to standard output.
#ifndef XUM_TOOLS_XUM_DEMO_SECTIONS_H
#define XUM_TOOLS_XUM_DEMO_SECTIONS_H

#include <filesystem>

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

}  // namespace xum::tool

#endif  // XUM_TOOLS_XUM_DEMO_SECTIONS_H
