// Parsing of the lunavex-batch command line.
#include "app/BatchOptions.h"

#include <cstdint>
#include <map>
#include <string>

#include "batch/Setting.h"
#include "batch/SubFolderRule.h"
#include "foundation/HexColor.h"
#include "foundation/Numbers.h"
#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "image/AvifEncoder.h"
#include "resources/StringIds.h"

namespace lvx {
namespace {

// Splits "a,b,c" and ORs the bits of each name; "all" (every name's bit) and "none" stand alone.
bool ParseBits(const std::wstring& text, const std::map<std::wstring, u32>& names, u32& out) {
    if (text == L"all") {
        out = 0;
        for (const auto& entry : names)
            out |= entry.second;
        return true;
    }
    if (text == L"none") {
        out = 0;
        return true;
    }
    u32 bits = 0;
    size_t start = 0;
    while (start <= text.size()) {
        size_t comma = text.find(L',', start);
        std::wstring name =
            text.substr(start, comma == std::wstring::npos ? std::wstring::npos : comma - start);
        auto it = names.find(name);
        if (it == names.end())
            return false;
        bits |= it->second;
        if (comma == std::wstring::npos)
            break;
        start = comma + 1;
    }
    out = bits;
    return true;
}

// "10", "10.5px", "5%": one digit behind the point, pixels unless the text ends in "%".
bool ParseLength(std::wstring text, LengthValue& out) {
    u32 unit = lengthunit::kPixels;
    if (text.size() > 2 && text.compare(text.size() - 2, 2, L"px") == 0) {
        text.resize(text.size() - 2);
    } else if (!text.empty() && text.back() == L'%') {
        text.pop_back();
        unit = lengthunit::kShortEdgeShare;
    }
    i32 value = 0;
    if (!ParseFixed(value, text, 1) || value < 0)
        return false;
    out.unit = unit;
    (unit == lengthunit::kShortEdgeShare ? out.thousandths : out.tenths) = value;
    return true;
}

// "none", "640" (a square box) or "800x600" (a custom size).
bool ParseShrink(const std::wstring& text, BatchOptions& out) {
    if (text == L"none") {
        out.shrinkType = shrinktype::kNone;
        return true;
    }
    size_t x = text.find(L'x');
    u32 w = 0, h = 0;
    if (x == std::wstring::npos) {
        if (!ParseUnsigned(w, text) || text.find(L'.') != std::wstring::npos || w == 0 ||
            w > 0x7FFFFFFF)
            return false;
        out.shrinkType = shrinktype::kNamed;
        out.shrinkWidth = out.shrinkHeight = static_cast<i32>(w);
        return true;
    }
    std::wstring ws = text.substr(0, x), hs = text.substr(x + 1);
    if (ws.find(L'.') != std::wstring::npos || hs.find(L'.') != std::wstring::npos)
        return false;
    if (!ParseUnsigned(w, ws) || !ParseUnsigned(h, hs) || w == 0 || h == 0 || w > 0x7FFFFFFF ||
        h > 0x7FFFFFFF)
        return false;
    out.shrinkType = shrinktype::kCustom;
    out.customWidth = static_cast<i32>(w);
    out.customHeight = static_cast<i32>(h);
    return true;
}

// The values of the round settings: the corners' radius and the edges' fade, which of them, and
// the background. False for a bad value, and for a name that is not among them.
bool ParseRoundValue(const std::wstring& name, const std::wstring& value, BatchOptions& out) {
    static const std::map<std::wstring, u32> cornerNames{{L"tl", cornerbit::kTopLeft},
                                                         {L"bl", cornerbit::kBottomLeft},
                                                         {L"br", cornerbit::kBottomRight},
                                                         {L"tr", cornerbit::kTopRight}};
    static const std::map<std::wstring, u32> edgeNames{{L"left", edgebit::kLeft},
                                                       {L"top", edgebit::kTop},
                                                       {L"right", edgebit::kRight},
                                                       {L"bottom", edgebit::kBottom}};
    if (name == L"radius" || name == L"blur") {
        LengthValue length{};
        if (!ParseLength(value, length))
            return false;
        (name == L"radius" ? out.radius : out.blurWidth) = length;
        return true;
    }
    if (name == L"corners" || name == L"edges") {
        u32 bits = 0;
        if (!ParseBits(value, name == L"corners" ? cornerNames : edgeNames, bits))
            return false;
        (name == L"corners" ? out.corners : out.edges) = bits;
        return true;
    }
    if (name == L"background") {
        u32 color = 0;
        std::wstring text = !value.empty() && value[0] == L'#' ? value.substr(1) : value;
        if (!ParseHexColor(color, text))
            return false;
        out.backgroundColor = color;
        return true;
    }
    return false;
}

bool ParseValue(const std::wstring& name, const std::wstring& value, BatchOptions& out) {
    if (name == L"shrink")
        return ParseShrink(value, out);
    if (name == L"radius" || name == L"blur" || name == L"corners" || name == L"edges" ||
        name == L"background")
        return ParseRoundValue(name, value, out);
    if (name == L"format") {
        if (value == L"png")
            out.saveType = savetype::kPng;
        else if (value == L"jpeg" || value == L"jpg")
            out.saveType = savetype::kJpeg;
        else if (value == L"webp")
            out.saveType = savetype::kWebp;
        else if (value == L"avif" && CanWriteAvif())
            out.saveType = savetype::kAvif;
        else
            return false;
        return true;
    }
    if (name == L"metadata") {
        if (value == L"none")
            out.metadata = metadatakept::kNone;
        else if (value == L"keep-without-location")
            out.metadata = metadatakept::kWithoutLocation;
        else if (value == L"keep")
            out.metadata = metadatakept::kAll;
        else
            return false;
        return true;
    }
    if (name == L"orientation") {
        if (value != L"auto" && value != L"stored")
            return false;
        out.keepStoredOrientation = value == L"stored";
        return true;
    }
    if (name == L"quality") {
        u32 quality = 0;
        if (value.find(L'.') != std::wstring::npos || !ParseUnsigned(quality, value) ||
            quality > 100)
            return false;
        out.jpegQuality = quality;
        return true;
    }
    if (name == L"max-pixels" || name == L"max-memory") {
        // Digits only, 1 to 4294967295: the range of the stored value.
        if (value.empty() || value.size() > 10 ||
            value.find_first_not_of(L"0123456789") != std::wstring::npos)
            return false;
        const u64 number = std::stoull(value);
        if (number == 0 || number > UINT32_MAX)
            return false;
        (name == L"max-pixels" ? out.maxPixels : out.maxMemoryMb) = static_cast<u32>(number);
        return true;
    }
    if (name == L"jobs") {
        // 1 to 256: more files at once than that only waits on the disk and the memory.
        u32 jobs = 0;
        if (value.find(L'.') != std::wstring::npos || !ParseUnsigned(jobs, value) || jobs < 1 ||
            jobs > 256)
            return false;
        out.jobs = jobs;
        return true;
    }
    if (name == L"subfolder") {
        if (SubFolderProblem(value) != 0)
            return false;
        out.subFolder = value;
        return true;
    }
    return false;
}

bool IsValueOption(const std::wstring& name) {
    static const wchar_t* names[] = {L"shrink",      L"radius",     L"blur",      L"corners",
                                     L"edges",       L"background", L"format",    L"quality",
                                     L"orientation", L"metadata",   L"subfolder", L"max-pixels",
                                     L"max-memory",  L"jobs"};
    for (const wchar_t* n : names) {
        if (name == n)
            return true;
    }
    return false;
}

std::wstring Message(u32 id, const std::wstring& argument) {
    std::wstring text;
    FormatResString(text, id, {argument});
    return text;
}

} // namespace

bool ParseBatchOptions(const std::vector<std::string>& args, BatchOptions& out,
                       std::wstring& error) {
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        std::wstring arg = WideFromUtf8(args[i]);
        if (optionsEnded || arg.size() < 2 || arg.compare(0, 1, L"-") != 0) {
            out.files.push_back(arg);
            continue;
        }
        if (arg == L"--") {
            optionsEnded = true;
            continue;
        }
        if (arg == L"-h" || arg == L"--help") {
            out.help = true;
            continue;
        }
        if (arg == L"--version") {
            out.version = true;
            continue;
        }
        if (arg == L"--overwrite" || arg == L"--keep-dates") {
            (arg == L"--overwrite" ? out.overwrite : out.keepDates) = true;
            continue;
        }
        if (arg == L"--transparent" || arg == L"--opaque") {
            out.transparent = arg == L"--transparent";
            continue;
        }
        if (arg.compare(0, 2, L"--") != 0) {
            error = Message(strid::kUnknownOption, arg);
            return false;
        }
        size_t eq = arg.find(L'=');
        std::wstring name = arg.substr(2, eq == std::wstring::npos ? std::wstring::npos : eq - 2);
        if (!IsValueOption(name)) {
            error = Message(strid::kUnknownOption, arg);
            return false;
        }
        std::wstring value;
        if (eq != std::wstring::npos) {
            value = arg.substr(eq + 1);
        } else if (i + 1 < args.size()) {
            value = WideFromUtf8(args[++i]);
        } else {
            error = Message(strid::kBadOptionValue, arg);
            return false;
        }
        if (!ParseValue(name, value, out)) {
            error = Message(strid::kBadOptionValue, L"--" + name + L"=" + value);
            // A sub-folder is refused with the reason, which the value alone does not show.
            if (const u32 problem = name == L"subfolder" ? SubFolderProblem(value) : 0)
                error += L"\n" + Message(problem, value);
            return false;
        }
    }
    return true;
}

void ApplyBatchOptions(const BatchOptions& o, CSetting& s) {
    if (o.shrinkType)
        s.shrink.shrinkType = *o.shrinkType;
    if (o.shrinkWidth)
        s.shrink.shrinkWidth = *o.shrinkWidth;
    if (o.shrinkHeight)
        s.shrink.shrinkHeight = *o.shrinkHeight;
    if (o.customWidth)
        s.shrink.customWidth = *o.customWidth;
    if (o.customHeight)
        s.shrink.customHeight = *o.customHeight;
    auto applyLength = [](const std::optional<LengthValue>& given, LengthValue& stored) {
        if (!given)
            return;
        stored.unit = given->unit;
        const bool share = given->unit == lengthunit::kShortEdgeShare;
        (share ? stored.thousandths : stored.tenths) = share ? given->thousandths : given->tenths;
    };
    applyLength(o.radius, s.round.radius);
    applyLength(o.blurWidth, s.round.blurWidth);
    if (o.corners)
        s.round.corners = *o.corners;
    if (o.edges)
        s.round.edges = *o.edges;
    if (o.backgroundColor)
        s.round.backgroundColor = *o.backgroundColor;
    if (o.transparent)
        s.round.transparent = *o.transparent;
    if (o.saveType)
        s.saveType = *o.saveType;
    if (o.jpegQuality)
        s.jpegQuality = *o.jpegQuality;
    if (o.subFolder)
        s.subFolders.Add(*o.subFolder);
    if (o.maxPixels)
        s.maxPixels = *o.maxPixels;
    if (o.maxMemoryMb)
        s.maxMemoryMb = *o.maxMemoryMb;
    if (o.keepStoredOrientation)
        s.keepStoredOrientation = *o.keepStoredOrientation;
    if (o.metadata)
        s.metadata = *o.metadata;
    if (o.keepDates)
        s.keepDates = true;
}

std::wstring BatchUsage() {
    std::wstring text;
    LoadResString(text, strid::kBatchUsage, true);
    return text;
}

} // namespace lvx
