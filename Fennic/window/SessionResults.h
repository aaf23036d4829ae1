#pragma once

namespace fennic {

class AppModel;
class BrowserView;

// Puts the search session's shown list into a browser: the files, the words to highlight in
// their names, and the empty state that says why there are none. Used by every browser that
// shows the session (the window's own and the Home page's results).
namespace SessionResults {

void show(BrowserView& view, AppModel& app);

}  // namespace SessionResults

}  // namespace fennic
