#include "framework/tdialogs.h"

#include "framework/xui_backend.h"

namespace xum {

TOpenDialog::~TOpenDialog() = default;

bool TOpenDialog::Execute() {
  const bool chosen = xui().file_dialog(*this);
  if (chosen && FFiles.Count() == 0 && !FFileName.empty()) FFiles.Add(FFileName);
  if (chosen && FFiles.Count() > 0) FFileName = FFiles[0];
  return chosen;
}

}  // namespace xum
