#include "model/FileItem.hpp"
#include "core/io/splitStereo.hpp"
#include "core/pipeline/keptTree.hpp"
#include "model/intake.hpp"

#include <QFileInfo>

#include <algorithm>

namespace quorvel {

FileItem::FileItem(const QueuedSource& source)
    : FileItem(urlForPath(source.path), source.right ? urlForPath(*source.right) : QUrl(), source.root)
{
    sniffed_ = source.sniffed;
}

FileItem::FileItem(const QUrl& url, const QUrl& rightUrl, std::optional<std::filesystem::path> root)
    : url_(url), rightUrl_(rightUrl), root_(std::move(root)), sessionFolder_(filePath().parent_path())
{
}

QString FileItem::fileName() const
{
    if (isPair())
        return QString::fromLocal8Bit(QueuedSource{filePath(), rightFilePath()}.displayStem());
    return QFileInfo(url_.path()).fileName();
}

std::filesystem::path FileItem::filePath() const { return pathForUrl(url_); }

std::optional<std::filesystem::path> FileItem::rightFilePath() const
{
    if (!isPair())
        return std::nullopt;
    return pathForUrl(rightUrl_);
}

QString FileItem::folder() const
{
    if (!root_)
        return {};
    const std::filesystem::path below = pathBelowRoot(filePath(), root_).parent_path();
    QStringList steps;
    for (const std::filesystem::path& step : below.empty() ? folderName(*root_) : below)
        steps << QString::fromLocal8Bit(step.string());
    return steps.join(QStringLiteral(" › "));
}

QString FileItem::halves() const
{
    if (!isPair())
        return {};
    return QFileInfo(url_.path()).fileName() + QStringLiteral(" + ") + QFileInfo(rightUrl_.path()).fileName();
}

QString FileItem::stateName() const
{
    static const QString names[] = {"ready", "working", "done", "failed"};
    return names[state_];
}

QStringList FileItem::overrideLabels() const
{
    return {detectedChannels() == 1 ? QStringLiteral("Auto (Mono)") : QStringLiteral("Auto (Stereo)"),
            QStringLiteral("Mono"), QStringLiteral("Stereo")};
}

QString FileItem::detectedFormatId() const { return QString::fromLatin1(detectedFormat().rawValue()); }

QString FileItem::overrideChoiceId() const { return QString::fromLatin1(overrideChoice().rawValue()); }

std::int64_t FileItem::sourceChannels() const
{
    if (isPair())
        return 2;
    switch (overrideChoice()) {
    case ChannelOverride::mono: return 1;
    case ChannelOverride::stereo: return 2;
    case ChannelOverride::automatic: break;
    }
    return detectedChannels();
}

SourceFormat FileItem::effectiveFormat(SourceFormatChoice choice) const
{
    return choice.fixedFormat().value_or(detectedFormat());
}

SessionAnswer FileItem::session() const
{
    SessionAnswer answer;
    if (const std::int64_t rate = sessionRate_.load())
        answer.rate = rate;
    if (const int format = sessionFormat_.load(); format >= 0) {
        answer.format = static_cast<SourceFormat::Case>(format);
        answer.channels = detectedChannels();
    }
    return answer;
}

void FileItem::setReading(Reading reading)
{
    reading_ = std::move(reading);
    setSession({});
}

void FileItem::setSession(const SessionAnswer& answer)
{
    sessionRate_ = answer.rate.value_or(0);
    sessionFormat_ = answer.format ? static_cast<int>(answer.format->index()) : -1;
}

std::vector<WindowSketch::Lane> FileItem::readingLanes(SourceFormatChoice choice) const
{
    if (!sketches_)
        return {};
    const SourceFormat format = effectiveFormat(choice);
    std::vector<const WindowSketch*> files;
    for (const std::vector<WindowSketch>& file : *sketches_) {
        const auto found = std::find_if(file.begin(), file.end(), [&](const WindowSketch& s) { return s.format == format; });
        if (found == file.end())
            return {};
        files.push_back(&*found);
    }
    // A pair's halves are mono files: each is one lane of the stereo picture.
    if (files.size() == 2)
        return {files[0]->merged(), files[1]->merged()};
    if (files.size() != 1)
        return {};
    if (sourceChannels() == 1)
        return {files[0]->merged()};
    return {files[0]->lanes[0], files[0]->lanes[1]};
}

// Each setter stores, then announces, so observers read the new value.
template <class T, class U>
static bool store(T& field, const U& value)
{
    if (field == value)
        return false;
    field = value;
    return true;
}

void FileItem::setDetectedChannels(std::int64_t channels)
{
    if (detectedChannels_.exchange(channels) != channels)
        emit detectedChannelsChanged();
}

void FileItem::setDetectedFormat(SourceFormat format)
{
    if (detectedFormat_.exchange(static_cast<std::uint8_t>(format.index())) != format.index())
        emit detectedFormatChanged();
}

void FileItem::setConfidence(const QString& confidence)
{
    if (store(confidence_, confidence))
        emit confidenceChanged();
}

void FileItem::setCorr(double corr)
{
    if (store(corr_, corr))
        emit corrChanged();
}

void FileItem::setOverrideChoice(ChannelOverride choice)
{
    if (overrideChoice_.exchange(static_cast<std::uint8_t>(ChannelOverride::Case(choice))) != ChannelOverride::Case(choice))
        emit overrideChoiceChanged();
}

void FileItem::setOverrideChoiceId(const QString& raw)
{
    if (const auto choice = ChannelOverride::fromRaw(raw.toStdString()))
        setOverrideChoice(*choice);
}

void FileItem::setStatus(const QString& status)
{
    if (store(status_, status))
        emit statusChanged();
}

void FileItem::setState(State state)
{
    if (store(state_, state))
        emit stateChanged();
}

void FileItem::setOutputURL(const QUrl& url)
{
    if (store(outputURL_, url))
        emit outputURLChanged();
}

void FileItem::setSketches(std::shared_ptr<const Sketches> sketches)
{
    sketches_ = std::move(sketches);
    emit sketchesChanged();
}

} // namespace quorvel
