#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <functional>
#include <optional>

namespace tallowfern {

/// One transfer, on the thread that calls run().
class CurlTransfer {
public:
    struct Order {
        QByteArray url;
        QString path; ///< of the file to make
        long connectSeconds;
        long stallSeconds;
    };

    /// `progress` is called on run()'s thread some ten times a second, with the fraction that has arrived.
    CurlTransfer(Order order, std::function<void(double)> progress);

    /// The sentence of the failure; nothing when the file is there. A failure leaves no file.
    std::optional<QString> run();
    /// From any thread: run() ends within a second.
    void cancel() { m_isCancelled = true; }

private:
    std::optional<QString> transfer();
    static std::size_t onBody(const char* bytes, std::size_t size, std::size_t count, void* self);
    static int onProgress(void* self, std::int64_t total, std::int64_t arrived, std::int64_t, std::int64_t);

    Order m_order;
    std::function<void(double)> m_progress;
    std::atomic<bool> m_isCancelled = false;
    void* m_curl = nullptr;
    int m_file = -1;
    int m_writeError = 0; ///< of the system; 0 for none
    std::int64_t m_arrived = 0; ///< bytes
    double m_toldAt = 0; ///< seconds of a steady clock
};

} // namespace tallowfern
