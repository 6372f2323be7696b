#include "host/app/progress.h"

#include "host/app/texts.h"
#include "platform/ui/plain_text.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include <atomic>
#include <chrono>
#include <future>

using namespace tarn;

namespace host {
namespace {

constexpr int BAR_STEPS = 1000, WIDTH = 420;
constexpr int LOOK_MILLISECONDS = 40, PATIENCE_MILLISECONDS = 400;

/// Stays until the work has ended, also when that takes a while after it was asked to.
class Window final : public QDialog {
public:
    Window(QWidget* parent, const QString& title, const QString& text)
        : QDialog(parent), m_bar(new QProgressBar), m_cancel(new QPushButton(Text(IDS_CANCEL))) {
        setWindowTitle(title);
        setWindowModality(Qt::WindowModal);
        QLabel* label = MakePlainLabel(this);
        label->setText(text);
        label->setWordWrap(true);
        m_bar->setRange(0, BAR_STEPS);
        m_bar->setAccessibleName(text);
        auto* buttons = new QDialogButtonBox;
        buttons->addButton(m_cancel, QDialogButtonBox::RejectRole);
        connect(buttons, &QDialogButtonBox::rejected, this, [this] { reject(); });
        auto* column = new QVBoxLayout(this);
        column->addWidget(label);
        column->addWidget(m_bar);
        column->addWidget(buttons);
        setMinimumWidth(WIDTH);
    }
    void Show(double done) { m_bar->setValue(static_cast<int>(done * BAR_STEPS)); }
    void reject() override {
        m_wantsEnd = true;
        m_cancel->setEnabled(false);
    }
    const std::atomic<bool>& WantsEnd() const { return m_wantsEnd; }

private:
    QProgressBar* m_bar;
    QPushButton* m_cancel;
    std::atomic<bool> m_wantsEnd = false;
};

}  // namespace

bool RunWithProgress(QWidget* parent, const QString& title, const QString& text, bool isLong,
                     const std::function<void(const std::function<bool(double)>&)>& work) {
    Window window(parent, title, text);
    std::atomic<double> share = 0;
    std::future<void> done = std::async(std::launch::async, [&] {
        work([&](double now) {
            share = now;
            return !window.WantsEnd();
        });
    });
    QEventLoop loop;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop, [&] {
        window.Show(share);
        if (done.wait_for(std::chrono::seconds(0)) == std::future_status::ready) loop.quit();
    });
    QTimer::singleShot(isLong ? 0 : PATIENCE_MILLISECONDS, &window, [&] { window.show(); });
    look.start(LOOK_MILLISECONDS);
    loop.exec();
    try {
        done.get();
    } catch (const std::exception&) {
        if (!window.WantsEnd()) throw;
    }
    return !window.WantsEnd();
}

}  // namespace host
