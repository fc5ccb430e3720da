// The result of an operation that can fail with a code: 32 bits with the meaning of a Windows HRESULT.
// Zero or positive is success. Windows passes its own codes through; Linux maps errno e to 0x80070000 | e, so that
// sentences end in "(0x%08X)" on both.
#pragma once

#include <cstdint>

namespace zv {

using Result = std::int32_t;

constexpr bool Succeeded(Result result) { return result >= 0; }
constexpr bool Failed(Result result) { return result < 0; }

/// The unsigned bits of a result, as they are printed.
constexpr std::uint32_t CodeOf(Result result) { return static_cast<std::uint32_t>(result); }

/// A result from its unsigned bits.
constexpr Result ResultOf(std::uint32_t code) { return static_cast<Result>(code); }

/// A system error number v > 0 as a result: (v & 0xFFFF) | 0x80070000. Zero or a negative value is passed through.
constexpr Result ResultOfSystemError(std::int32_t value) {
    return value <= 0 ? value : ResultOf((static_cast<std::uint32_t>(value) & 0xFFFFU) | 0x80070000U);
}

inline constexpr Result resultOk = 0;
inline constexpr Result resultGenericFailure = ResultOf(0x80004005U);  ///< E_FAIL
inline constexpr Result resultNotImplemented = ResultOf(0x80004001U);  ///< E_NOTIMPL
inline constexpr Result resultNotFound = ResultOf(0x887A0002U);        ///< DXGI_ERROR_NOT_FOUND

}  // namespace zv
