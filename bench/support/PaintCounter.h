#pragma once

#include <QApplication>
#include <QEvent>
#include <QObject>
#include <QPointer>
#include <QWidget>
#include <functional>

// Counts the paint events a widget receives, for the benchmarks that run the real window
// offscreen: painting there is real (the raster engine into the offscreen backing store).
// With Scope::tree the paints of its descendants count too: a page whose children cover it
// whole never receives a paint event of its own. `onPaint`, when set, runs as each counted
// paint event arrives, before the widget paints.
namespace fennic::bench {

class PaintCounter : public QObject {
public:
    enum class Scope {
        widget,  // the widget's own paints
        tree,    // the widget's and its descendants'
    };

    explicit PaintCounter(QWidget* widget, Scope scope = Scope::widget) : m_widget(widget), m_scope(scope)
    {
        if (scope == Scope::tree)
            QApplication::instance()->installEventFilter(this);
        else
            widget->installEventFilter(this);
    }
    int paints = 0;
    std::function<void()> onPaint;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::Paint || !m_widget) return false;
        if (m_scope == Scope::tree) {
            const auto* w = qobject_cast<QWidget*>(watched);
            if (!w || (w != m_widget && !m_widget->isAncestorOf(w))) return false;
        }
        ++paints;
        if (onPaint) onPaint();
        return false;
    }

private:
    QPointer<QWidget> m_widget;
    Scope m_scope;
};

}  // namespace fennic::bench
