// The process-wide hook through which file streams and `xfile_exists` consult
// an open archive: a file opened for reading that is missing on disk is looked
// up in the archive installed here.
//
//   xum::xvirtual_fs_interface::set(&archive);   // archive outlives its use
//   xum::xfile_stream f("settings.tsf", 1);     // found inside the archive
//
// Thread safety: set the hook before other threads open files.
#ifndef XUM_CORE_XVIRTUAL_FS_H
#define XUM_CORE_XVIRTUAL_FS_H

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

class xstream;  // streams/xstream.h

class XUM_API xvirtual_fs_interface {
 public:
  // A newly created read-only stream over the file `name`, owned by the
  // caller, or null when the archive has no such file.
  virtual xstream* get_file_stream(const xstr& name) = 0;
  // Whether the archive holds a file `name`.
  virtual bool is_file_exists(const xstr& name) = 0;

  // Installs the hook (not owned; null removes it) and reads it back.
  static void set(xvirtual_fs_interface* fs) noexcept;
  static xvirtual_fs_interface* get() noexcept;

 protected:
  virtual ~xvirtual_fs_interface();
};

}  // namespace xum

#endif  // XUM_CORE_XVIRTUAL_FS_H
