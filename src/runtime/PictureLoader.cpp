#include "runtime/PictureLoader.h"

#include "foundation/LocalizedError.h"
#include "foundation/Words.h"

#include <QCoreApplication>
#include <QLibrary>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

/// In a module of its own, because the library for images takes a third of the runtime's memory.
bool load(PromptImage& picture, int longestSide)
{
    using Shrink = bool (*)(PromptImage&, int);
    static QLibrary module(QCoreApplication::applicationDirPath() + u"/libtallowfern-pictures.so"_s);
    const auto shrink = reinterpret_cast<Shrink>(module.resolve("tallowfernShrinkPicture"));
    return shrink && shrink(picture, longestSide);
}

} // namespace

void loadPictures(Prompt& prompt, int longestSide)
{
    for (PromptMessage& message : prompt.messages) {
        QList<PromptImage> loaded;
        for (PromptImage picture : message.images) {
            if (load(picture, longestSide))
                loaded.append(std::move(picture));
            else if (picture.mustExist)
                throw SystemError(words("The screenshot could not be read."));
        }
        message.images = loaded;
    }
}

} // namespace tallowfern
