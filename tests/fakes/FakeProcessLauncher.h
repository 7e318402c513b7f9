#pragma once

#include "foundation/Completion.h"
#include "foundation/LocalizedError.h"
#include "platform/ProcessLauncher.h"

#include <csignal>
#include <optional>
#include <utility>
#include <vector>

namespace tallowfern {

/// Starts no programs: the test plays the newest child. Children that are left at the end are killed, as the system
/// does it.
class FakeProcessLauncher final : public ProcessLauncher {
public:
    FakeProcessLauncher() = default;
    FakeProcessLauncher(const FakeProcessLauncher&) = delete;
    FakeProcessLauncher& operator=(const FakeProcessLauncher&) = delete;
    ~FakeProcessLauncher() override
    {
        for (const auto& stage : std::exchange(m_stages, {}))
            end(*stage, {true, SIGKILL});
    }

    std::vector<ProcessRequest> requests;
    std::optional<QString> refusal; ///< the system's sentence when nothing can be started
    std::optional<Completion<bool>> startsWhen; ///< a start that takes its time

    QCoro::Task<std::unique_ptr<ChildProcess>> launch(ProcessRequest request) override
    {
        requests.push_back(request);
        if (refusal)
            throw SystemError(*refusal);
        const auto stage = std::make_shared<Stage>();
        m_stages.push_back(stage);
        if (startsWhen) {
            Completion<bool> started = *startsWhen;
            co_await started;
        }
        co_return std::make_unique<Child>(stage, reading);
    }

    void writes(const QByteArray& bytes) { writes(m_stages.size() - 1, bytes); }
    /// Children are counted from 0 in the order of their starts.
    void writes(std::size_t number, const QByteArray& bytes)
    {
        if (Child* child = running(number); child && child->onOutput)
            std::function(child->onOutput)(bytes); // a copy, as below
    }
    void writesError(const QByteArray& bytes)
    {
        if (Child* child = running(m_stages.size() - 1); child && child->onErrorOutput)
            std::function(child->onErrorOutput)(bytes);
    }
    void exits(int status) { exits(m_stages.size() - 1, status); }
    void exits(std::size_t number, int status) { end(*m_stages.at(number), {false, status}); }
    void isKilled(int signal) { end(*m_stages.back(), {true, signal}); }

    /// Of the newest child.
    QByteArray input() const { return m_stages.empty() ? QByteArray() : m_stages.back()->input; }
    QByteArray input(std::size_t number) const { return m_stages.at(number)->input; }
    bool inputIsClosed() const { return !m_stages.empty() && m_stages.back()->inputClosed; }
    bool wasAskedToEnd() const { return !m_stages.empty() && m_stages.back()->asked; }
    /// Children that read nothing: a write waits until they are gone, or fails.
    enum class Reading { Reads, Waits, Refuses };
    Reading reading = Reading::Reads;

    /// The newest child runs: it has neither ended nor been destroyed.
    bool isRunning() const { return !m_stages.empty() && m_stages.back()->child; }

private:
    class Child;
    struct Stage {
        Child* child = nullptr;
        QByteArray input;
        bool inputClosed = false;
        bool asked = false;
    };

    class Child final : public ChildProcess {
    public:
        Child(std::shared_ptr<Stage> stage, const Reading& reading)
            : m_stage(std::move(stage))
            , m_reading(reading)
        {
            m_stage->child = this;
        }
        ~Child() override
        {
            m_stage->child = nullptr;
            m_gone.complete(true);
        }
        qint64 processIdentifier() const override { return 0; }
        QCoro::Task<> write(QByteArray bytes) override
        {
            if (m_reading == Reading::Refuses)
                throw SystemError(QStringLiteral("Broken pipe"));
            m_stage->input += bytes;
            if (m_reading == Reading::Waits) {
                Completion<bool> gone = m_gone;
                co_await gone;
                throw SystemError(QStringLiteral("Broken pipe"));
            }
        }
        void closeInput() override { m_stage->inputClosed = true; }
        void terminate() override { m_stage->asked = true; }

    private:
        std::shared_ptr<Stage> m_stage;
        Reading m_reading;
        Completion<bool> m_gone;
    };

    Child* running(std::size_t number) const { return number < m_stages.size() ? m_stages[number]->child : nullptr; }

    static void end(Stage& stage, ProcessExit exit)
    {
        Child* child = std::exchange(stage.child, nullptr);
        if (child && child->onExit)
            std::function(child->onExit)(exit); // a copy: the callee may destroy the child
    }

    std::vector<std::shared_ptr<Stage>> m_stages;
};

} // namespace tallowfern
