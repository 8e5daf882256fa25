#pragma once

#include "core/detection/windowSketch.hpp"
#include "core/formats/OutputOptions.hpp"
#include "core/formats/SourceFormat.hpp"
#include "core/io/splitStereo.hpp"
#include "core/session/sessionEvidence.hpp"

#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QUuid>

#include <atomic>
#include <cstdint>
#include <variant>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace quorvel {

// One queued .sd2 file: shared by the queue, the row that shows it and any background job
// working on it. Published fields are written on the main thread only.
//
// The batch worker reads detectedFormat, overrideChoice, detectedChannels and the session's
// answer from its own thread while the user may change them; those are held in atomics, so
// each read is a whole value and never a race. Every other field is main-thread only.
class FileItem : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString id READ idText CONSTANT)
    Q_PROPERTY(QUrl url READ url CONSTANT)
    Q_PROPERTY(QString fileName READ fileName CONSTANT)
    Q_PROPERTY(bool isPair READ isPair CONSTANT)
    Q_PROPERTY(QString halves READ halves CONSTANT)
    Q_PROPERTY(QString folder READ folder CONSTANT)
    Q_PROPERTY(QString path READ path CONSTANT)
    Q_PROPERTY(qint64 detectedChannels READ detectedChannels NOTIFY detectedChannelsChanged)
    Q_PROPERTY(QString detectedFormat READ detectedFormatId NOTIFY detectedFormatChanged)
    Q_PROPERTY(QString confidence READ confidence NOTIFY confidenceChanged)
    Q_PROPERTY(double corr READ corr NOTIFY corrChanged)
    Q_PROPERTY(QString overrideChoice READ overrideChoiceId WRITE setOverrideChoiceId NOTIFY overrideChoiceChanged)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(QString stateName READ stateName NOTIFY stateChanged)
    Q_PROPERTY(QStringList overrideLabels READ overrideLabels NOTIFY detectedChannelsChanged)
    Q_PROPERTY(QUrl outputURL READ outputURL NOTIFY outputURLChanged)

public:
    enum State { ready, working, done, failed };
    Q_ENUM(State)

    // A split-stereo pair has a `rightUrl`, and `url` is its left half.
    explicit FileItem(const QUrl& url, const QUrl& rightUrl = QUrl(),
                      std::optional<std::filesystem::path> root = std::nullopt);
    // A queued file or pair, remembering the folder it was found under.
    explicit FileItem(const QueuedSource& source);

    QUuid id() const { return id_; }
    QString idText() const { return id_.toString(QUuid::WithoutBraces).toUpper(); }
    QUrl url() const { return url_; }
    QString path() const { return url_.toLocalFile(); } // for display
    std::filesystem::path filePath() const;             // the file's exact bytes, for opening it
    QString fileName() const; // a pair's shared name ("Gtr" for Gtr.L.sd2 + Gtr.R.sd2)

    bool isPair() const { return !rightUrl_.isEmpty(); }
    QUrl rightUrl() const { return rightUrl_; }
    std::optional<std::filesystem::path> rightFilePath() const;
    QString halves() const; // "Gtr.L.sd2 + Gtr.R.sd2" for a pair, else empty
    // The folder the file was found under, as given or dropped; none for a file given by itself.
    const std::optional<std::filesystem::path>& root() const { return root_; }
    // Where it sits in what was dropped: "PT Session 12 › Audio Files" below the dropped
    // folder, that folder's name for a file right in it, empty for a file given by itself.
    QString folder() const;
    // The file or pair as the core knows it.
    QueuedSource source() const { return {filePath(), rightFilePath(), root_, sniffed_}; }

    std::int64_t detectedChannels() const { return detectedChannels_.load(); }
    SourceFormat detectedFormat() const { return static_cast<SourceFormat::Case>(detectedFormat_.load()); }
    QString detectedFormatId() const;
    QString confidence() const { return confidence_; }
    double corr() const { return corr_; }
    ChannelOverride overrideChoice() const { return ChannelOverride::allCases()[overrideChoice_.load()]; }
    QString overrideChoiceId() const;
    QString status() const { return status_; }
    State state() const { return state_; }
    QUrl outputURL() const { return outputURL_; }
    QString stateName() const; // "ready", "working", "done", "failed"
    // The override menu's entries in ChannelOverride order: "Auto (Stereo)", "Mono", "Stereo".
    QStringList overrideLabels() const;

    // The folder it sits in: its session.
    const std::filesystem::path& sessionFolder() const { return sessionFolder_; }
    // What its own detection found, before its session had a say; nothing while none has
    // finished, or when the file could not be read.
    using Reading = std::variant<std::monostate, FileDetection, PairDetection>;
    const Reading& reading() const { return reading_; }
    // What its session settled for it.
    SessionAnswer session() const;

    // 1 for a mono override, 2 for stereo, else what detection found; always 2 for a pair.
    std::int64_t sourceChannels() const;
    // The fixed format of a fixed choice, else the detected one.
    SourceFormat effectiveFormat(SourceFormatChoice choice) const;

    // Pictures of the detection's windows in every reading, from the last detection: one
    // set per file (a pair's left half first). Empty until a detection has finished.
    using Sketches = std::vector<std::vector<WindowSketch>>;
    // The picture of the file as `choice` and the channel override read it: one lane for
    // mono, left and right for stereo; none before detection.
    std::vector<WindowSketch::Lane> readingLanes(SourceFormatChoice choice) const;

    void setDetectedChannels(std::int64_t channels);
    void setDetectedFormat(SourceFormat format);
    void setConfidence(const QString& confidence);
    void setCorr(double corr);
    void setOverrideChoice(ChannelOverride choice);
    void setOverrideChoiceId(const QString& raw); // "Auto", "Mono" or "Stereo"; anything else is ignored
    void setStatus(const QString& status);
    void setState(State state);
    void setOutputURL(const QUrl& url);
    // A new reading of its own, which its session has yet to see.
    void setReading(Reading reading);
    void setSession(const SessionAnswer& answer);
    void setSketches(std::shared_ptr<const Sketches> sketches);

signals:
    void detectedChannelsChanged();
    void detectedFormatChanged();
    void confidenceChanged();
    void corrChanged();
    void overrideChoiceChanged();
    void statusChanged();
    void stateChanged();
    void outputURLChanged();
    void sketchesChanged();

private:
    const QUuid id_ = QUuid::createUuid();
    const QUrl url_;
    const QUrl rightUrl_;
    const std::optional<std::filesystem::path> root_;
    bool sniffed_ = false; // a bare name queued for what its data reads as
    std::atomic<std::int64_t> detectedChannels_{2};
    std::atomic<std::uint8_t> detectedFormat_{SourceFormat::s16be};
    QString confidence_ = QStringLiteral("…");
    double corr_ = 0.0;
    std::atomic<std::uint8_t> overrideChoice_{ChannelOverride::automatic};
    QString status_ = QStringLiteral("Ready");
    State state_ = ready;
    QUrl outputURL_;
    const std::filesystem::path sessionFolder_;
    Reading reading_;
    std::atomic<std::int64_t> sessionRate_{0}; // 0: none
    std::atomic<int> sessionFormat_{-1};       // a SourceFormat's index; −1: none
    std::shared_ptr<const Sketches> sketches_;
};

} // namespace quorvel
