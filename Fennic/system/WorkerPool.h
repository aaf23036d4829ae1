#pragma once

class QThreadPool;

namespace fennic::WorkerPool {

// The pool for the application's own short jobs off the GUI thread (reading a folder for Open
// With, a row index, a search for the desktop's search, a preview, a sound).
//
// Qt's global pool is left alone on purpose: the raster engine splits every large fill (a tall
// scroll bar, a wide gradient) into pieces on that pool and blocks the GUI thread until they
// are done, so a 30 ms job of ours queued there would become a 30 ms stall of the window.
// Any thread; the pool lives until the application ends.
QThreadPool* shared();

}  // namespace fennic::WorkerPool
