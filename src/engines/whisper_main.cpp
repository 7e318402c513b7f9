#include "Program.h"
#include "Transcriber.h"
#include "WavFile.h"

using namespace tallowfern::engines;

int main(int argc, char** argv)
{
    return runProgram(Engine::Whisper, argc, argv, [](const Arguments& arguments) {
        const std::vector<float> samples = readRecording(arguments.file); // a bad recording is told before a long load
        return Transcriber(arguments).transcribe(samples);
    });
}
