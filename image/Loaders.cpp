// Which of libvips' loaders run, how one is opened, and how libvips starts without the others.
#include "image/Loaders.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <mutex>
#include <optional>

#include <gmodule.h>

#include "image/Codec.h"

namespace {

// The libvips loaders that DecodeImage uses: the formats that the program reads, all of them
// among libvips' trusted loaders. Anything else that libvips would recognise (SVG, PDF, JPEG 2000,
// JPEG XL, Radiance, ImageMagick) is treated as no image at all.
constexpr const char* kAllowedLoaders[] = {"jpegload_buffer", "pngload_buffer",  "gifload_buffer",
                                           "tiffload_buffer", "webpload_buffer", "heifload_buffer"};

// The file of libvips' HEIF/AVIF loader: of the formats that the program reads, the only one
// whose loader libvips keeps in a module rather than built in.
std::string HeifModulePath() {
    return std::string(LVX_VIPS_LIBDIR) + "/vips-modules-" + std::to_string(vips_version(0)) + "." +
           std::to_string(vips_version(1)) + "/vips-heif." + G_MODULE_SUFFIX;
}

bool HasHeifLoader() {
    return vips_type_find("VipsOperation", "heifload_buffer") != 0;
}

// A loader that reports a damaged file while its pixels are decoded invalidates its operation;
// the flag catches that even where the pixel pipeline itself finishes.
void OnLoaderInvalidated(VipsOperation*, void* flag) {
    static_cast<std::atomic<bool>*>(flag)->store(true);
}

} // namespace

const char* CLoader::For(const u8* data, size_t size) {
    const char* typeName = vips_foreign_find_load_buffer(data, size);
    if (!typeName && EnsureHeifLoader())
        typeName = vips_foreign_find_load_buffer(data, size);
    if (!typeName)
        return nullptr;
    const char* nickname = vips_nickname_find(g_type_from_name(typeName));
    if (!nickname)
        return nullptr;
    for (const char* allowed : kAllowedLoaders) {
        if (std::strcmp(nickname, allowed) == 0)
            return allowed;
    }
    return nullptr;
}

bool CLoader::IsOutOfMemoryText(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text.find("out of memory") != std::string::npos ||
           text.find("insufficient memory") != std::string::npos ||
           text.find("memory error") != std::string::npos ||
           text.find("error creating thread") != std::string::npos;
}

HResult CLoader::DecodeFailure() {
    const bool memory = IsOutOfMemoryText(vips_error_buffer());
    vips_error_clear();
    return memory ? hr::kOutOfMemory : hr::kNotImpl;
}

CLoader::~CLoader() {
    if (!op_)
        return;
    vips_object_unref_outputs(VIPS_OBJECT(op_));
    g_object_unref(op_);
}

VipsImage* CLoader::Open(const char* loader, const u8* data, size_t size, int shrink) {
    op_ = vips_operation_new(loader);
    if (!op_)
        return nullptr;
    g_signal_connect(op_, "invalidate", G_CALLBACK(OnLoaderInvalidated), &invalidated_);
    VipsBlob* blob = vips_blob_new(nullptr, data, size);
    // Truncated or damaged data fails the load instead of giving a half-grey picture.
    const int setFailed =
        vips_object_set(VIPS_OBJECT(op_), "buffer", blob, "access", VIPS_ACCESS_SEQUENTIAL,
                        "fail_on", VIPS_FAIL_ON_ERROR, nullptr);
    vips_area_unref(VIPS_AREA(blob));
    if (!setFailed && shrink > 1)
        vips_object_set(VIPS_OBJECT(op_), "shrink", shrink, nullptr);
    VipsImage* image = nullptr;
    if (!setFailed && !vips_object_build(VIPS_OBJECT(op_)))
        g_object_get(op_, "out", &image, nullptr);
    return image;
}

bool EnsureHeifLoader() {
    static std::once_flag once;
    static bool present = false;
    std::call_once(once, [] {
        if (!HasHeifLoader() && g_module_open(HeifModulePath().c_str(), G_MODULE_BIND_LAZY)) {
            // Whatever else a module brings, no untrusted loader may run.
            vips_block_untrusted_set(TRUE);
        }
        present = HasHeifLoader();
    });
    return present;
}

// Starts libvips with its built-in loaders alone. At start libvips would load every module of its
// folder (PDF, ImageMagick, JPEG XL, OpenSlide, HEIF), each with its codec libraries: more than
// half of the program's start-up time, for loaders that the program refuses or, for
// HEIF, needs only when such a file comes (EnsureHeifLoader). libvips looks for its modules under
// the folder that $VIPSHOME names; under /dev/null, a file, no folder can exist. The variable is
// put back as it was afterwards, so that programs that we start see the environment that we got.
static bool StartVipsWithoutModules() {
    const char* given = std::getenv("VIPSHOME");
    const std::optional<std::string> saved =
        given ? std::optional<std::string>(given) : std::nullopt;
    ::setenv("VIPSHOME", "/dev/null", 1);
    const bool started = VIPS_INIT("lunavex") == 0;
    if (saved)
        ::setenv("VIPSHOME", saved->c_str(), 1);
    else
        ::unsetenv("VIPSHOME");
    return started;
}

// libvips reports what it met in a damaged file through GLib's log as well as through its failure;
// the failure reaches the user as a result code, so the log lines would only be noise on stderr.
static void DropVipsWarning(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

bool EnsureVipsStarted() {
    static std::once_flag once;
    static bool started = false;
    std::call_once(once, [] {
        // Each of libvips' worker threads would take an allocator arena of its own, and memory
        // freed in one arena stays there while the next file's threads fill other ones: over a
        // batch the process grew to twice the peak of its largest file. One arena keeps the peak
        // of a batch that of its largest file, at no cost in time that we could measure. It has
        // to be set before the first of those threads allocates.
        mallopt(M_ARENA_MAX, 1);
        started = StartVipsWithoutModules();
        // A few hundred bytes of SVG or PDF can ask for minutes of work and gigabytes of memory,
        // and ImageMagick writes whole decoded images into the temporary folder: none of the
        // loaders that libvips marks untrusted may run, whoever asks for them.
        if (started)
            vips_block_untrusted_set(TRUE);
        // Every file is opened once and each operation runs once, so a cached operation is never
        // asked for again; but the cache would hold on to it, and with it to its images.
        vips_cache_set_max(0);
        g_log_set_handler("VIPS",
                          static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_MESSAGE),
                          DropVipsWarning, nullptr);
    });
    return started;
}

void StopVips() {
    vips_shutdown();
}
