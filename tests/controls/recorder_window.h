// A message window that keeps what it was told.
#pragma once

#include "platform/ui/window.h"
#include "points.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QWheelEvent>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

struct Message {
    uint32_t id;
    uintptr_t wparam;
    intptr_t lparam;
};

inline void SendWheel(QWidget& w, QPoint at, QPoint turn, Qt::KeyboardModifiers modifiers = {}) {
    QWheelEvent event(at, w.mapToGlobal(at), {}, turn, Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&w, &event);
}

class Recorder : public MessageWindow {
public:
    explicit Recorder(QWidget* parent = nullptr) : MessageWindow(parent) {
        resize(200, 100);
        Create();
    }
    ~Recorder() override { Destroy(); }

    std::vector<Message> got;
    std::function<intptr_t(uint32_t, uintptr_t, intptr_t)> also;

    intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
        got.push_back({message, wparam, lparam});
        return also ? also(message, wparam, lparam) : MessageWindow::OnMessage(message, wparam, lparam);
    }
    std::vector<uint32_t> Take() {
        std::vector<uint32_t> ids;
        for (const Message& m : got) ids.push_back(m.id);
        got.clear();
        return ids;
    }
    Message Last(uint32_t id) const {
        for (auto it = got.rbegin(); it != got.rend(); ++it)
            if (it->id == id) return *it;
        ADD_FAILURE() << "no message " << id;
        return {};
    }
    size_t Count(uint32_t id) const {
        return static_cast<size_t>(
            std::count_if(got.begin(), got.end(), [id](const Message& m) { return m.id == id; }));
    }
    void Open() {
        show();
        QTest::qWaitForWindowExposed(this) ? void() : ADD_FAILURE() << "not exposed";
        got.clear();
    }
};
