#include "app/tcontrol_scheme.h"

#include <array>
#include <string>

#include "formats/xstruct_format.h"
#include "framework/xui_backend.h"

namespace xum {

std::uint8_t TControlScheme::keybState[256] = {};

void TControlScheme::GetCurrentState() { GetKeyboardState(keybState); }

void TControlScheme::ReadWrite(xstruct_format& f) {
  for (TKeyboardAction* a : actions_) {
    a->key1 = static_cast<int>(f.prop_int64(a->name + "1", a->key1, a->defKey1, false));
    a->key2 = static_cast<int>(f.prop_int64(a->name + "2", a->key2, a->defKey2, false));
  }
}

void TControlScheme::SaveLoad(const xstr& fileName, xfile_mode mode) {
  xstruct_format f;
  f.open_file(fileName, mode);
  ReadWrite(f);
  f.close();
}

void TControlScheme::Default() {
  for (TKeyboardAction* a : actions_) {
    a->key1 = a->defKey1;
    a->key2 = a->defKey2;
  }
}

TKeyboardAction::TKeyboardAction(TControlScheme* scheme, const xstr& name, const xstr& caption,
                                 int key1, int key2)
    : key1(key1), key2(key2), defKey1(key1), defKey2(key2), name(name), caption(caption) {
  scheme->actions_.push_back(this);
}

TKeyboardAction::operator bool() const noexcept {
  if (key1 >= 0 && key1 < 256 && TControlScheme::keybState[key1] > 127) return true;
  return key2 >= 0 && key2 < 256 && TControlScheme::keybState[key2] >= 128;
}

namespace {

std::array<xstr, 256> make_key_names() {
  std::array<xstr, 256> n;
  static constexpr struct {
    int code;
    const char* name;
  } named[] = {
      {8, "Backspace"},   {12, "Num center"},  {13, "Enter"},        {14, "Pause"},
      {27, "Escape"},     {32, "Space"},       {33, "Page Up"},      {34, "Page Down"},
      {35, "End"},        {36, "Home"},        {37, "Left"},         {38, "Up"},
      {39, "Right"},      {40, "Down"},        {45, "Insert"},       {46, "Delete"},
      {106, "Num *"},     {107, "Num +"},      {109, "Num -"},       {110, "Num ."},
      {111, "Num /"},     {160, "Left Shift"}, {161, "Right Shift"}, {162, "Left Ctrl"},
      {163, "Right Ctrl"}, {164, "Alt"},       {186, ";"},           {187, "="},
      {188, "<"},         {189, "-"},          {190, ">"},           {191, "/"},
      {192, "~"},         {219, "["},          {220, "\\"},          {221, "]"},
      {222, "'"},
  };
  for (const auto& k : named) n[k.code] = k.name;
  for (int c = 'A'; c <= 'Z'; ++c) n[c] = xstr(std::string(1, static_cast<char>(c)).c_str());
  for (int d = 0; d <= 9; ++d) {
    const std::string digit(1, static_cast<char>('0' + d));
    n[48 + d] = xstr(digit.c_str());
    n[96 + d] = xstr(("Num. " + digit).c_str());
  }
  for (int f = 1; f <= 12; ++f) n[111 + f] = xstr(("F" + std::to_string(f)).c_str());
  return n;
}

}  // namespace

const xstr& xkey_name(int code) {
  static const std::array<xstr, 256> names = make_key_names();
  static const xstr none;
  return code >= 0 && code < 256 ? names[code] : none;
}

}  // namespace xum
