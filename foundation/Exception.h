// The failure vocabulary: a failure as a value (CSimpleErr) and the exceptions that carry it.
// Any thread: a failure's text is composed on the thread that makes it.
#pragma once

#include <concepts>
#include <exception>
#include <string>

#include "foundation/Numbers.h"
#include "foundation/ResString.h"
#include "foundation/Types.h"

// Arguments of a message: wide strings; a number is turned into decimal text by the caller.
template <class... Args>
concept MessageArgs = (std::convertible_to<const Args&, std::wstring> && ...);

// The template of id filled with the given wide strings (0 to 6); the count of arguments handed
// to the template is the count given. Throws my::CException strid::kStringMissing when id is not
// in the table.
template <class... Args>
requires MessageArgs<Args...> &&(sizeof...(Args) <= 6) std::wstring
    ComposeError(i32 id, const Args&... args) {
    std::wstring text;
    FormatResString(text, static_cast<u32>(id), {FormatArg(std::wstring(args))...});
    return text;
}

// The system's text of a result code (ResultText.h), repeated here so that the message helpers
// need one include only.
std::wstring ResultText(HResult code);

// A failure as a plain value: string-table id (0: no failure), result code, finished text.
class CSimpleErr {
public:
    i32 id = 0;
    HResult hr = 0;
    std::wstring text;

    // Stores id with no result code and composes the text; id 0 empties it.
    template <class... Args>
    requires MessageArgs<Args...> &&
        (sizeof...(Args) <= 6) void SetError(i32 newId, const Args&... args) {
        id = newId;
        hr = 0;
        if (newId == 0) {
            text.clear();
            return;
        }
        text = ::ComposeError(newId, args...);
    }

    // Stores id and code; the text has the system text of the code as its first argument.
    template <class... Args>
    requires MessageArgs<Args...> &&
        (sizeof...(Args) <= 5) void SetErrorResult(i32 newId, HResult code, const Args&... args) {
        id = newId;
        hr = code;
        if (newId == 0) {
            text.clear();
            return;
        }
        text = ::ComposeError(newId, ResultText(code), args...);
    }

    // Sets the text only.
    template <class... Args>
    requires MessageArgs<Args...> &&
        (sizeof...(Args) <= 6) void ComposeError(i32 templateId, const Args&... args) {
        text = ::ComposeError(templateId, args...);
    }

    bool IsError() const { return id != 0; }
    void Clear() {
        id = 0;
        hr = 0;
        text.clear();
    }
};

namespace my {

// The exception of the system. Its message is text, composed at the throw; what() is the
// std::exception one and is never read for the message.
class CException : public CSimpleErr, public std::exception {
public:
    explicit CException(i32 id);
    CException(i32 id, const std::wstring& a1);
    CException(i32 id, const std::wstring& a1, const std::wstring& a2);
    CException(i32 id, HResult code);
    CException(i32 id, HResult code, const std::wstring& a1);
    explicit CException(const CSimpleErr& error);
    // A failed narrowing: id strid::kCastError with the two type names and the value.
    CException(const std::wstring& fromType, const std::wstring& toType, const std::wstring& value);
};

// An exception that names the control at fault; the handle is null when none is meant.
class CCtrlException : public CException {
public:
    CtrlHandle ctrl = nullptr;

    CCtrlException() : CException(0) {}
    CCtrlException(CtrlHandle control, i32 id) : CException(id), ctrl(control) {}
    CCtrlException(CtrlHandle control, i32 id, const std::wstring& a1)
        : CException(id, a1), ctrl(control) {}
    CCtrlException(CtrlHandle control, i32 id, const std::wstring& a1, const std::wstring& a2)
        : CException(id, a1, a2), ctrl(control) {}
    CCtrlException(CtrlHandle control, i32 id, HResult code)
        : CException(id, code), ctrl(control) {}
    CCtrlException(CtrlHandle control, i32 id, HResult code, const std::wstring& a1)
        : CException(id, code, a1), ctrl(control) {}
    CCtrlException(CtrlHandle control, const CSimpleErr& error)
        : CException(error), ctrl(control) {}
    // A my::CException copied in has no control.
    explicit CCtrlException(const CException& error)
        : CException(static_cast<const CSimpleErr&>(error)) {}
};

} // namespace my

// Throws my::CException strid::kCastError for a number that does not fit its narrower type.
template <std::integral T>
[[noreturn]] void ThrowCastError(const std::wstring& fromType, const std::wstring& toType,
                                 T value) {
    throw my::CException(fromType, toType, ToText(value));
}

// Stand-in for ATL's exception type, so that a guarded call has its row for it.
namespace ATL {
class CAtlException {
public:
    explicit CAtlException(HResult code) : hr(code) {}
    operator HResult() const { return hr; }
    HResult hr;
};
} // namespace ATL
