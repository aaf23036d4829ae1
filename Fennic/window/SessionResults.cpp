#include "SessionResults.h"

#include "EmptyStates.h"
#include "app/AppModel.h"
#include "app/LibraryModel.h"
#include "app/SearchSession.h"
#include "browser/BrowserView.h"

namespace fennic::SessionResults {

void show(BrowserView& view, AppModel& app)
{
    SearchSession& search = app.search();
    // A list not worked out yet is worked out on the pool; the view keeps what it shows until
    // it arrives (with another call here).
    if (!search.isVisibleReady()) {
        search.prepareVisibleItems();
        return;
    }
    const QList<FileItem> shown = search.shownItems();
    view.setItems(shown, search.shownDiff());
    search.dropShownDiff();
    view.setHighlight(search.highlightQuery());

    EmptyStates::Situation situation;
    situation.shown = shown.size();
    situation.libraryCount = app.library().items().size();
    situation.scanning = app.library().isScanning();
    situation.hasFilters = !search.parsed().filters.isEmpty();
    situation.settled = search.searchSettled();
    situation.request = search.query();
    situation.sidebar = search.sidebar();
    if (const auto message = EmptyStates::forSituation(situation))
        view.setEmptyState(BrowserView::EmptyState{message->iconName, message->title, message->detail});
    else
        view.setEmptyState(std::nullopt);
}

}  // namespace fennic::SessionResults
