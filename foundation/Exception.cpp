// The exceptions of the system: constructors that compose their message at the throw.
#include "foundation/Exception.h"

#include "resources/StringIds.h"

namespace my {

CException::CException(i32 id) {
    SetError(id);
}

CException::CException(i32 id, const std::wstring& a1) {
    SetError(id, a1);
}

CException::CException(i32 id, const std::wstring& a1, const std::wstring& a2) {
    SetError(id, a1, a2);
}

CException::CException(i32 id, HResult code) {
    SetErrorResult(id, code);
}

CException::CException(i32 id, HResult code, const std::wstring& a1) {
    SetErrorResult(id, code, a1);
}

CException::CException(const CSimpleErr& error) : CSimpleErr(error), std::exception() {}

CException::CException(const std::wstring& fromType, const std::wstring& toType,
                       const std::wstring& value) {
    SetError(strid::kCastError, fromType, toType, value);
}

} // namespace my
