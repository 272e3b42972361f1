// Text between the model (UTF-16 UnicodeString) and Qt (QString).
//
// Thread safety: pure functions.
#ifndef XUM_BACKENDS_QT_XQT_TEXT_H
#define XUM_BACKENDS_QT_XQT_TEXT_H

#include <QString>

#include "core/xexceptions.h"

namespace xum {

inline QString qstr(const UnicodeString& text) { return QString::fromStdU16String(text); }
inline UnicodeString ustr(const QString& text) { return text.toStdU16String(); }

}  // namespace xum

#endif  // XUM_BACKENDS_QT_XQT_TEXT_H
