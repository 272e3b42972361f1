// The archive part of `xum demo`: the sample files are packed into a
// temporary archive, listed, and read back by name, the settings file
// through a plain file stream that falls back to the archive.
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include "core/xfile_utils.h"
#include "core/xstr.h"
#include "formats/xstruct_format.h"
#include "formats/xvirtual_file_sys.h"
#include "tools/xum/demo_sections.h"

namespace xum::tool {

void archive_section(const std::filesystem::path& samples) {
  std::cout << "Archive (the sample files packed into one scrambled file)\n";
  xtemp_file temp(".vfs");
  if (temp.get_file_name().empty()) xerror("Cannot create a temporary file !");
  // xtemp_file leaves its ".tmp" twin for the caller: remove it on the way out.
  struct remove_twin {
    xstr name;
    ~remove_twin() { std::remove(name.get_text()); }
  } twin{xchange_file_ext(temp.get_file_name(), ".tmp")};

  xvirtual_file_sys archive;
  archive.set_header_value(7);
  archive.create(temp.get_file_name());
  archive.add_file((samples / "text" / "words.txt").string().c_str());
  archive.add_file((samples / "settings" / "layout.txt").string().c_str());
  archive.close();

  archive.open(temp.get_file_name());
  for (const auto& f : archive.files())
    std::cout << "  member " << f->name.view() << ": " << f->size << " bytes at offset " << f->offset << "\n";
  xstr name;
  if (archive.file_by_ext(".TXT", name)) std::cout << "  first .txt member: " << name.view() << "\n";

  // A settings file that is not on disk is read from the archive once the
  // archive is the process's fallback.
  xvirtual_fs_interface::set(&archive);
  struct unhook {
    ~unhook() { xvirtual_fs_interface::set(nullptr); }
  } restore;
  xstruct_format f;
  f.open_file("no/such/dir/LAYOUT.TXT", xfile_read);
  xstr title;
  f.str("Title", title, "", false);
  std::cout << "  no/such/dir/LAYOUT.TXT read through a file stream: Title = " << title.enquotate().view()
            << "\n\n";
}

}  // namespace xum::tool
