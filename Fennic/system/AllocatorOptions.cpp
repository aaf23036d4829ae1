// Options for jemalloc, read by it at its first allocation (it looks this symbol up by name).
//
// background_thread: memory freed for a while is given back to the system by jemalloc's own
// thread. Without it the thread that happens to free or allocate next does it, and on the GUI
// thread that was a `madvise` over megabytes in the middle of handling a keystroke.
extern "C" {
extern const char* malloc_conf;
const char* malloc_conf = "background_thread:true";
}
