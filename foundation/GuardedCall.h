// Exception barriers: run a callable and turn whatever it throws into a failure value.
#pragma once

#include <exception>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>

#include <boost/regex/pattern_except.hpp>

#include "foundation/Exception.h"
#include "resources/StringIds.h"

// The text of an exception's what(): at most 255 bytes, each byte sign-extended to one 16-bit
// character with no code-page conversion; "Unknown exception" when what() gives nothing.
std::wstring WideFromWhat(const std::exception& error);

// The string-table id of a regular-expression error code: one of the strid::kRegex... messages
// for the codes with a message of their own, strid::kRegexError (which takes the text of what())
// for any other.
i32 RegexErrorId(int code);

// Stores the failure of a regular expression in holder.
void SetRegexError(CSimpleErr& holder, const boost::regex_error& error);

// Clears holder, runs callable with args and stores what it throws in holder; never throws itself,
// except when composing a message fails. The callable's return value is not kept. The holder may be
// a CSimpleErr, my::CException or my::CCtrlException; only the last keeps the control at fault.
// Main thread only: the buffer of WideFromWhat is shared.
template <class Holder, class Callable, class... Args>
requires std::is_base_of_v<CSimpleErr, Holder>
void GuardedCall(Holder& holder, Callable&& callable, Args&&... args) {
    CSimpleErr& error = holder;
    error.Clear();
    if constexpr (std::is_base_of_v<my::CCtrlException, Holder>)
        holder.ctrl = nullptr;
    try {
        std::invoke(std::forward<Callable>(callable), std::forward<Args>(args)...);
    } catch (const my::CCtrlException& e) {
        error = static_cast<const CSimpleErr&>(e);
        if constexpr (std::is_base_of_v<my::CCtrlException, Holder>)
            holder.ctrl = e.ctrl;
    } catch (const my::CException& e) {
        error = static_cast<const CSimpleErr&>(e);
    } catch (const boost::regex_error& e) {
        SetRegexError(error, e);
    } catch (const std::exception& e) {
        error.SetError(strid::kStdException, WideFromWhat(e));
    } catch (const ATL::CAtlException& e) {
        error.SetErrorResult(strid::kAtlException, e.hr);
    } catch (...) {
        error.SetError(strid::kUnknownException);
    }
}
