// Starting and stopping libvips for the process, with its built-in loaders alone, and loading the
// one module that the program reads with.
#pragma once

// Starts libvips once for the process, with its built-in loaders alone and the untrusted ones
// among them (SVG and the like) blocked; the HEIF/AVIF module is loaded when bytes first come
// that no built-in loader claims (CLoader::For, image/Loaders.h), and no other module ever is.
// Later calls only report whether the start worked. Sets the allocator to one arena for the whole
// process, which keeps freed buffers of up to 64 MiB for reuse, so the first call should come
// before other threads allocate. Any thread.
bool EnsureVipsStarted();
// Gives the memory that the heap keeps for the next file (EnsureVipsStarted) back to the system:
// for a process that stays after its batch. Any thread.
void ReleaseFreedMemory();
// Shuts libvips down at the end of the program, after the last image operation. The main thread.
void StopVips();
// Loads libvips' HEIF/AVIF module (its loader and its encoder) once, when it is not loaded yet; it
// stays for the rest of the process, as libvips' own modules do. True when the HEIF loader is
// there, loaded now or before, or built into libvips. Any thread; starts libvips when it is not.
bool EnsureHeifLoader();

// The threads of libvips' pool that one pipeline may use at once: what SetVipsPipelineThreads
// chose last, else libvips' own choice (VIPS_CONCURRENCY, or one per processor). Any thread;
// starts libvips when it is not.
int VipsPipelineThreads();
// Sets that number, at least 1, for the pipelines that start from then on (those running keep
// theirs): files converted side by side share the processors instead of each taking them all.
// Any thread; starts libvips when it is not.
void SetVipsPipelineThreads(int threads);

// The name that libvips gives the threads of its process-wide pool. They do the pixel work of
// every pipeline, whichever thread runs it, and are kept for the next one.
inline constexpr char kVipsWorkerThreadName[] = "libvips worker";
