// Reading and writing the registry's text export format.
#include "platform/RegistryExport.h"

#include <cwchar>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Utf8.h"

namespace {

constexpr std::wstring_view kRoot = L"HKEY_CURRENT_USER";
constexpr u32 kRegSz = 1;
constexpr u32 kRegBinary = 3;
constexpr u32 kRegDword = 4;

bool IsBlank(wchar_t c) {
    return c == L' ' || c == L'\t';
}

std::wstring_view TrimLeft(std::wstring_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    return text;
}

std::wstring_view TrimRight(std::wstring_view text) {
    while (!text.empty() && (IsBlank(text.back()) || text.back() == L'\r'))
        text.remove_suffix(1);
    return text;
}

wchar_t FoldAscii(wchar_t c) {
    return (c >= L'A' && c <= L'Z') ? c + (L'a' - L'A') : c;
}

bool StartsWithFolded(std::wstring_view text, std::wstring_view prefix) {
    if (text.size() < prefix.size())
        return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (FoldAscii(text[i]) != FoldAscii(prefix[i]))
            return false;
    }
    return true;
}

int HexDigit(wchar_t c) {
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    c = FoldAscii(c);
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    return -1;
}

// A hexadecimal number of 1 to maxDigits digits filling the whole text.
std::optional<u32> ParseHex(std::wstring_view text, std::size_t maxDigits) {
    if (text.empty() || text.size() > maxDigits)
        return std::nullopt;
    u32 value = 0;
    for (wchar_t c : text) {
        int digit = HexDigit(c);
        if (digit < 0)
            return std::nullopt;
        value = value * 16 + static_cast<u32>(digit);
    }
    return value;
}

// True when text is well-formed UTF-8: shortest forms only, no surrogates, nothing above
// U+10FFFF.
bool IsValidUtf8(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            ++i;
            continue;
        }
        std::size_t length = 0;
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            if (lead == 0xE0)
                low = 0xA0; // shorter forms of U+0000 to U+07FF
            if (lead == 0xED)
                high = 0x9F; // the surrogates U+D800 to U+DFFF
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            if (lead == 0xF0)
                low = 0x90; // shorter forms of U+0000 to U+FFFF
            if (lead == 0xF4)
                high = 0x8F; // above U+10FFFF
        } else {
            return false;
        }
        if (text.size() - i < length)
            return false;
        const auto second = static_cast<unsigned char>(text[i + 1]);
        if (second < low || second > high)
            return false;
        for (std::size_t k = 2; k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if (next < 0x80 || next > 0xBF)
                return false;
        }
        i += length;
    }
    return true;
}

// The text of the file: the byte order mark decides between UTF-16LE and UTF-8. A file whose text
// could not be read exactly (a Latin-1 file, say) has none: read with replacement characters and
// written back, its names would be lost for good.
std::optional<std::wstring> DecodeFile(const std::vector<u8>& bytes) {
    if (bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
        if (bytes.size() % 2 != 0)
            return std::nullopt;
        return WideFromUtf16Le(bytes.data() + 2, bytes.size() - 2);
    }
    if (bytes.size() >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF)
        return std::nullopt;
    std::size_t skip = 0;
    if (bytes.size() >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
        skip = 3;
    std::string_view text(reinterpret_cast<const char*>(bytes.data()) + skip, bytes.size() - skip);
    if (!IsValidUtf8(text))
        return std::nullopt;
    return WideFromUtf8(text);
}

// A quoted text at the start of text, with the escapes \\ and \"; rest takes what follows the
// closing quote.
std::optional<std::wstring> ParseQuoted(std::wstring_view text, std::wstring_view& rest) {
    if (text.empty() || text.front() != L'"')
        return std::nullopt;
    std::wstring out;
    for (std::size_t i = 1; i < text.size(); ++i) {
        wchar_t c = text[i];
        if (c == L'"') {
            rest = text.substr(i + 1);
            return out;
        }
        if (c == L'\\') {
            if (i + 1 >= text.size() || (text[i + 1] != L'\\' && text[i + 1] != L'"'))
                return std::nullopt;
            c = text[++i];
        }
        out += c;
    }
    return std::nullopt;
}

class CExportParser {
public:
    explicit CExportParser(std::wstring text) : text_(std::move(text)) {}

    bool Parse(CRegTree& tree) {
        std::optional<std::wstring_view> header = NextLine();
        if (!header || TrimRight(*header) != kRegistryExportHeader)
            return false;
        while (std::optional<std::wstring_view> line = NextLine()) {
            std::wstring_view body = TrimLeft(TrimRight(*line));
            if (body.empty() || body.front() == L';')
                continue;
            bool ok = body.front() == L'[' ? ParseSection(body, tree) : ParseValue(body);
            if (!ok)
                return false;
        }
        return true;
    }

private:
    std::optional<std::wstring_view> NextLine() {
        if (pos_ >= text_.size())
            return std::nullopt;
        std::size_t end = text_.find(L'\n', pos_);
        if (end == std::wstring::npos)
            end = text_.size();
        std::wstring_view line(text_.data() + pos_, end - pos_);
        pos_ = end + 1;
        return line;
    }

    bool ParseSection(std::wstring_view body, CRegTree& tree) {
        if (body.size() < 2 || body.back() != L']')
            return false;
        body = body.substr(1, body.size() - 2);
        bool remove = !body.empty() && body.front() == L'-';
        if (remove)
            body.remove_prefix(1);
        if (!StartsWithFolded(body, kRoot))
            return false;
        body.remove_prefix(kRoot.size());
        if (!body.empty() && body.front() != L'\\')
            return false;
        std::wstring path(body.empty() ? body : body.substr(1));
        if (!body.empty() && !ValidPath(path))
            return false;
        if (remove) {
            tree.RemoveKey(path);
            section_ = nullptr;
            return true;
        }
        // The key is held, not its path: a value line then costs its own length, however long
        // the path is.
        section_ = &tree.Key(path);
        return tree.Keys().size() <= kMostKeys;
    }

    // Names of at least one character, kMostKeyPathChars in all.
    static bool ValidPath(const std::wstring& path) {
        if (path.empty() || path.size() > kMostKeyPathChars || path.front() == L'\\' ||
            path.back() == L'\\')
            return false;
        return path.find(L"\\\\") == std::wstring::npos;
    }

    bool ParseValue(std::wstring_view body) {
        if (!section_)
            return false;
        std::wstring name;
        std::wstring_view rest;
        if (body.front() == L'@') {
            rest = body.substr(1);
        } else {
            std::optional<std::wstring> quoted = ParseQuoted(body, rest);
            if (!quoted)
                return false;
            name = *quoted;
        }
        rest = TrimLeft(rest);
        if (rest.empty() || rest.front() != L'=')
            return false;
        rest = TrimLeft(rest.substr(1));
        if (rest == L"-") {
            section_->Remove(name);
            return true;
        }
        std::optional<RegValueData> value = ParseData(rest);
        if (!value)
            return false;
        section_->Set(name, *value);
        return true;
    }

    std::optional<RegValueData> ParseData(std::wstring_view data) {
        if (!data.empty() && data.front() == L'"') {
            std::wstring_view rest;
            std::optional<std::wstring> text = ParseQuoted(data, rest);
            if (!text || !TrimLeft(rest).empty())
                return std::nullopt;
            return RegValueData{kRegSz, Utf16LeFromWide(std::wstring(*text) + L'\0')};
        }
        if (StartsWithFolded(data, L"dword:")) {
            std::optional<u32> number = ParseHex(data.substr(6), 8);
            if (!number)
                return std::nullopt;
            RegValueData value{kRegDword, {}};
            for (int shift = 0; shift < 32; shift += 8)
                value.bytes.push_back(static_cast<u8>(*number >> shift));
            return value;
        }
        return ParseHexData(data);
    }

    // hex:... or hex(n):..., the list continued on the following lines while a line ends in "\".
    std::optional<RegValueData> ParseHexData(std::wstring_view data) {
        if (!StartsWithFolded(data, L"hex"))
            return std::nullopt;
        data.remove_prefix(3);
        RegValueData value{kRegBinary, {}};
        if (!data.empty() && data.front() == L'(') {
            std::size_t close = data.find(L')');
            if (close == std::wstring_view::npos)
                return std::nullopt;
            std::optional<u32> type = ParseHex(data.substr(1, close - 1), 8);
            if (!type)
                return std::nullopt;
            value.type = *type;
            data.remove_prefix(close + 1);
        }
        if (data.empty() || data.front() != L':')
            return std::nullopt;
        std::wstring list(data.substr(1));
        while (!list.empty() && list.back() == L'\\') {
            list.pop_back();
            std::optional<std::wstring_view> next = NextLine();
            if (!next)
                return std::nullopt;
            list += TrimLeft(TrimRight(*next));
        }
        if (!ParseByteList(list, value.bytes))
            return std::nullopt;
        return value;
    }

    static bool ParseByteList(std::wstring_view list, std::vector<u8>& out) {
        list = TrimLeft(TrimRight(list));
        while (!list.empty()) {
            std::size_t comma = list.find(L',');
            std::wstring_view item = TrimLeft(TrimRight(list.substr(0, comma)));
            std::optional<u32> byte = ParseHex(item, 2);
            if (!byte)
                return false;
            out.push_back(static_cast<u8>(*byte));
            if (comma == std::wstring_view::npos)
                break;
            list = TrimLeft(list.substr(comma + 1));
        }
        return true;
    }

    std::wstring text_;
    std::size_t pos_ = 0;
    RegKeyData* section_ = nullptr;
};

std::wstring Escape(const std::wstring& text) {
    std::wstring out;
    for (wchar_t c : text) {
        if (c == L'\\' || c == L'"')
            out += L'\\';
        out += c;
    }
    return out;
}

// The text of a REG_SZ that can be written quoted: even size, one terminating zero at the end and
// none before it, no line break.
std::optional<std::wstring> CleanText(const RegValueData& value) {
    if (value.type != kRegSz || value.bytes.size() < 2 || value.bytes.size() % 2 != 0)
        return std::nullopt;
    std::wstring text = WideFromUtf16Le(value.bytes.data(), value.bytes.size());
    if (text.back() != L'\0')
        return std::nullopt;
    text.pop_back();
    if (text.find_first_of(std::wstring_view(L"\0\r\n", 3)) != std::wstring::npos)
        return std::nullopt;
    return text;
}

void AppendHexList(std::wstring& out, const RegValueData& value, std::size_t column) {
    wchar_t buffer[16];
    if (value.type == kRegBinary) {
        out += L"hex:";
    } else {
        std::swprintf(buffer, 16, L"hex(%x):", value.type);
        out += buffer;
    }
    column += out.size();
    for (std::size_t i = 0; i < value.bytes.size(); ++i) {
        bool last = i + 1 == value.bytes.size();
        std::swprintf(buffer, 16, last ? L"%02x" : L"%02x,", value.bytes[i]);
        out += buffer;
        column += last ? 2 : 3;
        if (!last && column >= 77) {
            out += L"\\\r\n  ";
            column = 2;
        }
    }
}

void AppendValueLine(std::wstring& out, const std::wstring& name, const RegValueData& value) {
    std::wstring line = name.empty() ? std::wstring(L"@=") : L"\"" + Escape(name) + L"\"=";
    std::wstring data;
    if (std::optional<std::wstring> text = CleanText(value)) {
        data = L"\"" + Escape(*text) + L"\"";
    } else if (value.type == kRegDword && value.bytes.size() == 4) {
        u32 number = 0;
        for (int i = 3; i >= 0; --i)
            number = (number << 8) | value.bytes[static_cast<std::size_t>(i)];
        wchar_t buffer[16];
        std::swprintf(buffer, 16, L"dword:%08x", number);
        data = buffer;
    } else {
        AppendHexList(data, value, line.size());
    }
    out += line + data + L"\r\n";
}

} // namespace

bool ParseRegistryExport(const std::vector<u8>& fileBytes, CRegTree& tree) {
    std::optional<std::wstring> text = DecodeFile(fileBytes);
    if (!text)
        return false;
    CRegTree parsed = tree;
    CExportParser parser(std::move(*text));
    if (!parser.Parse(parsed))
        return false;
    tree = std::move(parsed);
    return true;
}

std::vector<u8> FormatRegistryExport(const CRegTree& tree) {
    std::wstring text = std::wstring(kRegistryExportHeader) + L"\r\n\r\n";
    for (const auto& [folded, key] : tree.Keys()) {
        // The root itself gets a section only when it holds values, so that a file that gave it
        // some keeps them.
        if (key.path.empty() && key.AllValues().empty())
            continue;
        text += L"[";
        text += kRoot;
        if (!key.path.empty()) {
            text += L'\\';
            text += key.path;
        }
        text += L"]\r\n";
        for (const auto& [name, value] : key.AllValues())
            AppendValueLine(text, name, value);
        text += L"\r\n";
    }
    std::vector<u8> bytes{0xFF, 0xFE};
    std::vector<u8> body = Utf16LeFromWide(text);
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}
