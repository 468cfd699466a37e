// Starting libvips without its modules, and loading its HEIF/AVIF module when it is needed.
#include "image/VipsStart.h"

#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <mutex>
#include <optional>
#include <string>

#include <gmodule.h>
#include <vips/vips8>

namespace {

// The largest allocation that the heap serves (larger ones are mapped and unmapped on their own),
// and the most freed memory that it keeps at its top: above a photo's buffers.
constexpr int kKeptAllocation = 64 << 20;
constexpr int kKeptFreeTop = 128 << 20;

// The file of libvips' HEIF/AVIF loader: of the formats that the program reads, the only one
// whose loader libvips keeps in a module rather than built in.
std::string HeifModulePath() {
    return std::string(LVX_VIPS_LIBDIR) + "/vips-modules-" + std::to_string(vips_version(0)) + "." +
           std::to_string(vips_version(1)) + "/vips-heif." + G_MODULE_SUFFIX;
}

bool HasHeifLoader() {
    return vips_type_find("VipsOperation", "heifload_buffer") != 0;
}

// Starts libvips with its built-in loaders alone. At start libvips would load every module of its
// folder (PDF, ImageMagick, JPEG XL, OpenSlide, HEIF), each with its codec libraries: more than
// half of the program's start-up time, for loaders that the program refuses or, for
// HEIF, needs only when such a file comes (EnsureHeifLoader). libvips looks for its modules under
// the folder that $VIPSHOME names; under /dev/null, a file, no folder can exist. The variable is
// put back as it was afterwards, so that programs that we start see the environment that we got.
bool StartVipsWithoutModules() {
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
void DropVipsWarning(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

} // namespace

bool EnsureHeifLoader() {
    // The module registers its classes with a running libvips.
    if (!EnsureVipsStarted())
        return false;
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
        // The buffers of one file (rows in flight, a progressive JPEG's coefficients, the held
        // output) are allocated and freed again for each file. Given back to the system at once,
        // each of their pages is faulted in and cleared anew for the next file: a tenth of the
        // time of a batch of photos. Kept in the heap up to these sizes, they are reused; the
        // window gives them back when its batch ends (ReleaseFreedMemory).
        mallopt(M_MMAP_THRESHOLD, kKeptAllocation);
        mallopt(M_TRIM_THRESHOLD, kKeptFreeTop);
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

int VipsPipelineThreads() {
    EnsureVipsStarted();
    return vips_concurrency_get();
}

void SetVipsPipelineThreads(int threads) {
    EnsureVipsStarted();
    vips_concurrency_set(std::max(1, threads));
}

void ReleaseFreedMemory() {
    malloc_trim(0);
}
