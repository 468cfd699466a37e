// Our own printf-style expansion of string-table templates into a fixed buffer.
#include "foundation/TemplateFormat.h"

#include <algorithm>
#include <string>

namespace {

// Appends text to a buffer of fixed room; remembers whether anything had to be cut.
class CBoundedWriter {
public:
    CBoundedWriter(wchar_t* out, std::size_t size) : out_(out), room_(size > 0 ? size - 1 : 0) {}

    void Put(std::wstring_view text) {
        std::size_t take = std::min(text.size(), room_ - used_);
        text.copy(out_ + used_, take);
        used_ += take;
        if (take < text.size())
            cut_ = true;
    }
    void Put(wchar_t c) { Put(std::wstring_view(&c, 1)); }

    std::ptrdiff_t Finish(std::size_t size) {
        if (size > 0)
            out_[used_] = L'\0';
        return cut_ ? -1 : static_cast<std::ptrdiff_t>(used_);
    }

private:
    wchar_t* out_;
    std::size_t room_;
    std::size_t used_ = 0;
    bool cut_ = false;
};

std::wstring ArgText(const FormatArg& arg) {
    return arg.IsText() ? arg.Text() : std::to_wstring(arg.Number());
}

} // namespace

std::ptrdiff_t FormatTemplate(wchar_t* out, std::size_t size, std::wstring_view templ,
                              std::span<const FormatArg> args) {
    CBoundedWriter writer(out, size);
    std::size_t nextArg = 0;
    for (std::size_t i = 0; i < templ.size(); ++i) {
        wchar_t c = templ[i];
        if (c != L'%' || i + 1 >= templ.size()) {
            writer.Put(c);
            continue;
        }
        wchar_t kind = templ[i + 1];
        bool wideS = kind == L'l' && i + 2 < templ.size() && templ[i + 2] == L's';
        if (kind == L'%') {
            writer.Put(L'%');
            ++i;
            continue;
        }
        if (kind != L's' && kind != L'd' && !wideS) {
            writer.Put(c);
            continue;
        }
        i += wideS ? 2 : 1;
        if (nextArg < args.size())
            writer.Put(ArgText(args[nextArg++]));
    }
    return writer.Finish(size);
}
