#include "runtime/providers/ThinkingFilter.h"

#include <utility>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

const QString kOpening = u"<think>"_s;
const QString kClosing = u"</think>"_s;

} // namespace

QString ThinkingFilter::pass(const QString& piece)
{
    if (m_state == State::Answering)
        return piece;
    m_held += piece;
    if (m_state == State::Undecided) {
        const QString begun = m_held.trimmed();
        if (kOpening.startsWith(begun))
            return {};
        m_state = begun.startsWith(kOpening) ? State::Thinking : State::Answering;
    }
    if (m_state == State::Thinking) {
        const auto end = m_held.indexOf(kClosing);
        if (end < 0)
            return {};
        m_held.remove(0, end + kClosing.size());
        m_state = State::Answering;
    }
    return std::exchange(m_held, {});
}

QString ThinkingFilter::rest()
{
    return m_state == State::Undecided ? std::exchange(m_held, {}) : QString();
}

QString ThinkingFilter::withoutThoughts(const QString& answer)
{
    const auto end = answer.indexOf(kClosing);
    return end < 0 ? answer : answer.sliced(end + kClosing.size());
}

} // namespace tallowfern
