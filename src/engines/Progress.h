#pragma once

#include <cstdio>
#include <mutex>

namespace tallowfern {

/// Writes how much of the work is done, as lines "progress = N%" that never go back. The shares are those of a short
/// dictation: loading a tenth, then each window of sound by its length, and in it the encoder more than the decoder.
/// Any thread may report.
class Progress {
public:
    /// Lines go to `stream`, or nowhere when it is null.
    explicit Progress(std::FILE* stream);

    void modelRead(double share);
    /// The windows' lengths decide how much of the whole each is. Not while another thread reports.
    void beginWindow(double shareBefore, double shareWithIt);
    /// The encoder is done, and the decoder has `share` of the tokens that a window of this length usually gives.
    void decoded(double share);
    void finished();

private:
    void report(double percent);
    void reportInWindow(double share);

    std::FILE* m_stream;
    std::mutex m_lock; ///< guards m_lastPercent and the order of the lines
    double m_windowBegin = 0;
    double m_windowEnd = 1;
    int m_lastPercent = -1;
};

} // namespace tallowfern
