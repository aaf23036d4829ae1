#pragma once

#include <QEvent>
#include <QObject>
#include <QWidget>
#include <functional>

// Counts the paint events a widget receives, for the benchmarks that run the real window
// offscreen: painting there is real (the raster engine into the offscreen backing store).
// `onPaint`, when set, runs as each paint event arrives, before the widget paints.
namespace fennic::bench {

class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
    int paints = 0;
    std::function<void()> onPaint;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            ++paints;
            if (onPaint) onPaint();
        }
        return false;
    }
};

}  // namespace fennic::bench
