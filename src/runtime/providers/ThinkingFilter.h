#pragma once

#include <QString>

namespace tallowfern {

/// Keeps the thoughts of a model out of its answer, where the server that runs it knows nothing of them: a block
/// between <think> and </think> at the very start, whatever the pieces in which it comes.
class ThinkingFilter {
public:
    /// What of the answer may be shown now.
    QString pass(const QString& piece);
    /// What was held back in doubt, at the end.
    QString rest();

    /// An answer without what stands before a lone </think>: some templates open the block in the prompt.
    static QString withoutThoughts(const QString& answer);

private:
    enum class State { Undecided, Thinking, Answering };

    State m_state = State::Undecided;
    QString m_held;
};

} // namespace tallowfern
