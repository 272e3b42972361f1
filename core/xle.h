// Little-endian encoding: the one place where the library turns integers
// and floating-point numbers into bytes and back. Every file format of the
// library stores fixed-width numbers least-significant byte first; these
// helpers use byte shifts, so they are correct on any host and at any
// alignment.
//
//   unsigned char b[4];
//   xum::le::store<std::uint32_t>(b, 0x11223344);   // 44 33 22 11
//   auto v = xum::le::load<std::uint32_t>(b);
//   auto w = xum::le::read<std::uint16_t>(bytes, pos);  // bounded, advances pos
//
// Thread safety: pure functions.
#ifndef XUM_CORE_XLE_H
#define XUM_CORE_XLE_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

#include "core/xexception.h"

namespace xum::le {

template <class T>
concept encodable = std::is_integral_v<T> || std::is_same_v<T, float> || std::is_same_v<T, double>;

namespace detail {
template <std::size_t N>
using uint_of = std::conditional_t<
    N == 1, std::uint8_t,
    std::conditional_t<N == 2, std::uint16_t, std::conditional_t<N == 4, std::uint32_t, std::uint64_t>>>;
}  // namespace detail

// Writes sizeof(T) bytes at `out`.
template <encodable T>
constexpr void store(unsigned char* out, T value) noexcept {
  using U = detail::uint_of<sizeof(T)>;
  const U u = std::bit_cast<U>(value);
  for (std::size_t i = 0; i < sizeof(T); ++i) out[i] = static_cast<unsigned char>(u >> (8 * i));
}

namespace detail {
// The shifts written out as one expression, which compilers turn into a
// single load on little-endian hosts (a loop is not merged at -O2).
template <class U, std::size_t... I>
constexpr U load_bytes(const unsigned char* in, std::index_sequence<I...>) noexcept {
  return static_cast<U>((static_cast<U>(static_cast<U>(in[I]) << (8 * I)) | ...));
}
}  // namespace detail

// Reads sizeof(T) bytes at `in`.
template <encodable T>
constexpr T load(const unsigned char* in) noexcept {
  using U = detail::uint_of<sizeof(T)>;
  return std::bit_cast<T>(detail::load_bytes<U>(in, std::make_index_sequence<sizeof(T)>{}));
}

// Bounded read at `pos` of `bytes`, advancing `pos`. Throws xexception 0 when
// fewer than sizeof(T) bytes remain (pos is then unchanged).
template <encodable T>
constexpr T read(std::span<const unsigned char> bytes, std::size_t& pos) {
  if (pos > bytes.size() || bytes.size() - pos < sizeof(T)) throw xexception(xexception::out_of_range);
  const T v = load<T>(bytes.data() + pos);
  pos += sizeof(T);
  return v;
}

// Bounded write at `pos` of `bytes`, advancing `pos`; throws like `read`.
template <encodable T>
constexpr void write(std::span<unsigned char> bytes, std::size_t& pos, T value) {
  if (pos > bytes.size() || bytes.size() - pos < sizeof(T)) throw xexception(xexception::out_of_range);
  store<T>(bytes.data() + pos, value);
  pos += sizeof(T);
}

}  // namespace xum::le

#endif  // XUM_CORE_XLE_H
