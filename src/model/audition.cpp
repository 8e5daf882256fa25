#include "core/io/MappedFile.hpp"
#include "core/io/guardedRead.hpp"
#include "core/metadata/checkedSource.hpp"
#include "core/pipeline/decodePair.hpp"
#include "core/pipeline/writeWAV.hpp"
#include "model/ConverterModel.hpp"

#include <QDir>
#include <QFile>

namespace quorvel {

namespace {
constexpr std::int64_t kPreviewSeconds = 4;
}

void ConverterModel::preview(FileItem* item)
{
    if (!item)
        return;
    if (previewSound_)
        previewSound_->stop();

    // The same name for every audition of one item: a new one replaces the last.
    const QString wav = QDir(QDir::tempPath()).filePath(QStringLiteral("sd2preview_%1.wav").arg(item->idText()));
    const std::int64_t channels = item->sourceChannels();
    const SourceFormatChoice choice = sourceFormatChoice_;
    const SourceFormat format = item->effectiveFormat(choice);
    const std::int64_t settingRate = item->session().rate.value_or(sourceRate_.rawValue());
    const std::filesystem::path source = item->filePath();
    const std::optional<std::filesystem::path> right = item->rightFilePath();
    const std::optional<std::filesystem::path> root = item->root();
    const QString name = item->fileName();

    // Ahead of any detections still waiting: the user is listening for it.
    inBackground(detectionPool_, [=, this] {
        const MappedFile file = MappedFile::open(source);
        bool written = false;
        try { // a write error, or no memory left for the excerpt
            // Played as it will be bounced: the file's own audio bytes at its own rate, and a
            // split-stereo pair's two halves side by side.
            FileSource audio = findFileSource(source, root);
            const bool read = file.ok() && audio.unreadable.empty() &&
                              guardedRead([&] { audio = checkedSource(std::move(audio), file.bytes(), choice); });
            const std::int64_t rate = audio.rate().value_or(settingRate);
            const std::int64_t frames = rate * kPreviewSeconds;
            PcmBufferPtr excerpt;
            if (read && right) {
                const MappedFile rightFile = MappedFile::open(*right);
                if (rightFile.ok())
                    excerpt = decodePairToBuffer(audio.audio(file.bytes()),
                                                 findFileSource(*right, root).audio(rightFile.bytes()), format, rate, frames);
            } else if (read) {
                excerpt = decodeToBuffer(audio.audio(file.bytes()), format, rate, channels, frames);
            }
            if (excerpt) {
                writeWAV(*excerpt, QFile::encodeName(wav).toStdString(), 16, ExistingFile::replace);
                written = true;
            }
        } catch (const std::exception&) {
        }
        if (!written) {
            post([this] { setStatusLine(QStringLiteral("Preview couldn't render.")); });
            return;
        }
        post([=, this] {
            auto player = services_.makePlayer(wav, [this] { setStatusLine(QStringLiteral("Could not play preview.")); });
            if (!player) {
                setStatusLine(QStringLiteral("Could not play preview."));
                return;
            }
            previewSound_ = std::move(player);
            previewSound_->play();
            setStatusLine(QStringLiteral("Previewing %1 as %2…").arg(name, channels == 1 ? QStringLiteral("mono") : QStringLiteral("stereo")));
        });
    }, 1);
}

void ConverterModel::stopPreview()
{
    if (previewSound_)
        previewSound_->stop();
    previewSound_.reset();
}

void ConverterModel::revealOutput()
{
    const QUrl folder = outputFolder_.isEmpty() ? defaultOutDir().value_or(QUrl()) : outputFolder_;
    if (!folder.isEmpty() && !services_.reveal(folder))
        setStatusLine(QStringLiteral("Couldn't open a file manager — the files are in %1")
                          .arg(QString::fromLocal8Bit(pathForUrl(folder).string())));
}

} // namespace quorvel
