// Fixed-width integer names, result codes and small geometry records shared by every library.
// Any thread: names, constants and plain values.
#pragma once

#include <cstdint>

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i32 = std::int32_t;
using i64 = std::int64_t;

// A result code: 0 on success, negative (as i32) on failure, held in a u32.
using HResult = u32;

namespace hr {
constexpr HResult kOk = 0;
constexpr HResult kFail = 0x80004005;        // unspecified failure
constexpr HResult kNotImpl = 0x80004001;     // cannot decode, failed scale
constexpr HResult kInvalidArg = 0x80070057;  // not a 32-bit image
constexpr HResult kOutOfMemory = 0x8007000E; // allocation failed, file too large
constexpr HResult kNotEnoughMemory = 0x80070008;
constexpr HResult kAborted = 0x800703E3;            // ERROR_OPERATION_ABORTED as a result code
constexpr HResult kFormatNotAvailable = 0x80040064; // a drag's data without the format asked
// Codes of this program, with the customer bit set so that they never meet a system code.
constexpr HResult kNotOrdinaryFile = 0xA04C0001;  // a device, pipe or socket given as a file
constexpr HResult kImageTooLarge = 0xA04C0002;    // more pixels than the decode limit
constexpr HResult kTooManyScans = 0xA04C0003;     // a JPEG of more scans than the decode limit
constexpr HResult kTooLargeForJpeg = 0xA04C0004;  // a side longer than JPEG can hold
constexpr HResult kTooLargeForWebp = 0xA04C0005;  // a side longer than WebP can hold
constexpr HResult kNoAvifEncoder = 0xA04C0006;    // libheif has no AV1 encoder on this system
constexpr HResult kOverMemoryBudget = 0xA04C0010; // decoding would need more than the memory limit
constexpr HResult kOverWorkBudget = 0xA04C0011;   // a JPEG whose scans are more work than the limit
} // namespace hr

inline bool Failed(HResult code) {
    return static_cast<i32>(code) < 0;
}
inline bool Succeeded(HResult code) {
    return static_cast<i32>(code) >= 0;
}

// A positive Win32 code as a result code; zero and negative values pass unchanged.
inline HResult ResultFromWin32(i32 code) {
    return code > 0 ? ((static_cast<u32>(code) & 0xFFFF) | 0x80070000u) : static_cast<u32>(code);
}

// Left, top, right, bottom; width is right - left, height bottom - top.
struct Rect {
    i32 left = 0;
    i32 top = 0;
    i32 right = 0;
    i32 bottom = 0;
    i32 Width() const { return right - left; }
    i32 Height() const { return bottom - top; }
    bool IsEmpty() const { return right <= left || bottom <= top; }
    bool operator==(const Rect&) const = default;
};

struct Size {
    i32 cx = 0;
    i32 cy = 0;
    bool operator==(const Size&) const = default;
};

// An opaque handle to a user-interface control; null when no control is meant. The widget layer
// gives it meaning, the libraries below only carry it.
using CtrlHandle = void*;
