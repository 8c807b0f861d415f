#ifndef KEYRECORDER_H
#define KEYRECORDER_H

#include <QKeyEvent>
#include <QStringList>
#include <QWidget>

// A focusable widget that writes down every key it receives, one line per event.
class KeyRecorder : public QWidget {
public:
    explicit KeyRecorder(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags())
        : QWidget(parent, flags)
    {
        setFocusPolicy(Qt::StrongFocus);
    }

    static QString describe(bool press, int key, const QString& text, Qt::KeyboardModifiers modifiers,
                            bool autoRepeat, bool spontaneous)
    {
        return QStringLiteral("%1 %2 '%3' %4%5%6")
            .arg(press ? "press" : "release").arg(key, 0, 16).arg(text).arg(int(modifiers), 0, 16)
            .arg(autoRepeat ? " repeat" : "", spontaneous ? " spontaneous" : "");
    }

    QStringList keys;

protected:
    void keyPressEvent(QKeyEvent* event) override { record(event); }
    void keyReleaseEvent(QKeyEvent* event) override { record(event); }

private:
    void record(const QKeyEvent* e)
    {
        keys << describe(e->type() == QEvent::KeyPress, e->key(), e->text(), e->modifiers(), e->isAutoRepeat(),
                         e->spontaneous());
    }
};

#endif
