#pragma once

#include "core/formats/OutputOptions.hpp"
#include "core/formats/SourceFormat.hpp"
#include "model/FileListModel.hpp"
#include "model/FileSections.hpp"
#include "model/ModelServices.hpp"
#include "model/handoff.hpp"
#include "model/intake.hpp"

#include <QObject>
#include <QThreadPool>
#include <QUrl>
#include <QVariantList>

#include <filesystem>
#include <map>
#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <thread>

namespace quorvel {

// The application's one model: the queue, the settings, and the progress and status texts
// the window shows. Everything here runs on the main thread; background work gets
// snapshots and posts each change back as its own task: folder walks on a thread of their
// own, one at a time; detections and auditions on a pool of their own (auditions first);
// the batch run on its own thread, so it never waits behind detections.
class ConverterModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(quorvel::FileListModel* items READ items CONSTANT)
    Q_PROPERTY(quorvel::FileSections* rows READ rows CONSTANT)
    // True while dropped folders are being searched through.
    Q_PROPERTY(bool takingIn READ takingIn NOTIFY takingInChanged)
    Q_PROPERTY(QString sourceFormatChoice READ sourceFormatChoiceId WRITE setSourceFormatChoiceId NOTIFY sourceFormatChoiceChanged)
    Q_PROPERTY(int sourceRate READ sourceRateHz WRITE setSourceRateHz NOTIFY sourceRateChanged)
    Q_PROPERTY(int targetRate READ targetRateHz WRITE setTargetRateHz NOTIFY targetRateChanged)
    Q_PROPERTY(int targetDepth READ targetDepthBits WRITE setTargetDepthBits NOTIFY targetDepthChanged)
    Q_PROPERTY(QString targetChannels READ targetChannelsId WRITE setTargetChannelsId NOTIFY targetChannelsChanged)
    Q_PROPERTY(bool normalizeLoudness READ normalizeLoudness WRITE setNormalizeLoudness NOTIFY normalizeLoudnessChanged)
    Q_PROPERTY(bool keepFolderStructure READ keepFolderStructure WRITE setKeepFolderStructure NOTIFY keepFolderStructureChanged)
    Q_PROPERTY(bool plainWav READ plainWav WRITE setPlainWav NOTIFY plainWavChanged)
    Q_PROPERTY(QUrl outputFolder READ outputFolder WRITE setOutputFolder NOTIFY outputFolderChanged)
    Q_PROPERTY(QString outputFolderName READ outputFolderName NOTIFY outputFolderChanged)
    Q_PROPERTY(QString outputFolderPath READ outputFolderPath NOTIFY outputFolderChanged)
    Q_PROPERTY(bool isConverting READ isConverting NOTIFY isConvertingChanged)
    Q_PROPERTY(double overallProgress READ overallProgress NOTIFY overallProgressChanged)
    Q_PROPERTY(QString statusLine READ statusLine NOTIFY statusLineChanged)
    Q_PROPERTY(bool showAdvanced READ showAdvanced WRITE setShowAdvanced NOTIFY showAdvancedChanged)
    Q_PROPERTY(bool showOverlay READ showOverlay NOTIFY showOverlayChanged)
    Q_PROPERTY(QString phaseTitle READ phaseTitle NOTIFY phaseTitleChanged)
    Q_PROPERTY(QString phaseDetail READ phaseDetail NOTIFY phaseDetailChanged)
    Q_PROPERTY(bool phaseDone READ phaseDone NOTIFY phaseDoneChanged)
    Q_PROPERTY(bool phaseFailed READ phaseFailed NOTIFY phaseFailedChanged)
    Q_PROPERTY(int pendingCount READ pendingCount NOTIFY pendingCountChanged)
    Q_PROPERTY(QUrl defaultOutDir READ defaultOutDirUrl NOTIFY pendingCountChanged)
    // The settings' choices in their fixed order, as {value, label} for the views' pickers.
    Q_PROPERTY(QVariantList targetRateOptions READ targetRateOptions CONSTANT)
    Q_PROPERTY(QVariantList targetDepthOptions READ targetDepthOptions CONSTANT)
    Q_PROPERTY(QVariantList targetChannelsOptions READ targetChannelsOptions CONSTANT)
    Q_PROPERTY(QVariantList sourceFormatOptions READ sourceFormatOptions CONSTANT)
    Q_PROPERTY(QVariantList sourceRateOptions READ sourceRateOptions CONSTANT)

public:
    // The process's model, made on first use with the system's services.
    static ConverterModel& shared();

    explicit ConverterModel(ModelServices services, QObject* parent = nullptr);
    ~ConverterModel() override;

    FileListModel* items() { return &items_; }
    FileSections* rows() { return &rows_; }
    const std::vector<FileItemPtr>& queue() const { return items_.items(); }
    bool takingIn() const { return takingIn_; }

    SourceFormatChoice sourceFormatChoice() const { return sourceFormatChoice_; }
    SourceRate sourceRate() const { return sourceRate_; }
    TargetRate targetRate() const { return targetRate_; }
    TargetDepth targetDepth() const { return targetDepth_; }
    TargetChannels targetChannels() const { return targetChannels_; }
    bool normalizeLoudness() const { return normalizeLoudness_; }
    // Outputs in OUT/<dropped folder>/<folders below it>/, beside the dropped folder by default.
    bool keepFolderStructure() const { return keepFolderStructure_; }
    // WAV files without the Broadcast WAV chunks (bext, MD5).
    bool plainWav() const { return plainWav_; }
    QUrl outputFolder() const { return outputFolder_; }
    QString outputFolderPath() const { return outputFolder_.toLocalFile(); }
    QString outputFolderName() const; // last path component; empty when none is chosen
    bool isConverting() const { return isConverting_; }
    double overallProgress() const { return overallProgress_; }
    QString statusLine() const { return statusLine_; }
    bool showAdvanced() const { return showAdvanced_; }
    bool showOverlay() const { return showOverlay_; }
    QString phaseTitle() const { return phaseTitle_; }
    QString phaseDetail() const { return phaseDetail_; }
    bool phaseDone() const { return phaseDone_; }
    bool phaseFailed() const { return phaseFailed_; }
    int pendingCount() const { return items_.benchCount(); }
    // _sd2_outputs beside the first queued file (beside the folder it was found under when the
    // folder structure is kept); none when the queue is empty.
    std::optional<QUrl> defaultOutDir() const;

    void setSourceFormatChoice(SourceFormatChoice choice);
    void setSourceRate(SourceRate rate);
    void setTargetRate(TargetRate rate);
    void setTargetDepth(TargetDepth depth);
    void setTargetChannels(TargetChannels channels);
    void setNormalizeLoudness(bool on);
    void setKeepFolderStructure(bool on);
    void setPlainWav(bool on);
    void setOutputFolder(const QUrl& folder);
    void setShowAdvanced(bool on);

    // Queue intake and editing. The folders are searched through off the main thread, one
    // call after another, and the files arrive in the order intake gives them.
    Q_INVOKABLE void addURLs(const QList<QUrl>& urls);
    Q_INVOKABLE void clear();
    Q_INVOKABLE void clearCompleted();
    Q_INVOKABLE void remove(quorvel::FileItem* item);
    Q_INVOKABLE void requeue(quorvel::FileItem* item);
    // Puts a split-stereo pair's halves back in the queue as two mono files, in its place.
    Q_INVOKABLE void splitPair(quorvel::FileItem* item);
    // Whether the item is one half of a split-stereo pair whose other half is queued too.
    Q_INVOKABLE bool canJoin(quorvel::FileItem* item) const;
    // Joins such halves into one pair, in the place of the first of them.
    Q_INVOKABLE void joinPair(quorvel::FileItem* item);
    // Detection, on the model's pool; results arrive in completion order.
    void detect(const FileItemPtr& item);
    Q_INVOKABLE void redetectAll();
    // The batch run.
    Q_INVOKABLE void convertAll();
    // Ends the run: the file being written is dropped and no other is started; the files
    // already bounced stay.
    Q_INVOKABLE void stopBouncing();
    // Audition and reveal.
    Q_INVOKABLE void preview(quorvel::FileItem* item);
    Q_INVOKABLE void stopPreview();
    Q_INVOKABLE void revealOutput();

signals:
    void sourceFormatChoiceChanged();
    void sourceRateChanged();
    void targetRateChanged();
    void targetDepthChanged();
    void targetChannelsChanged();
    void normalizeLoudnessChanged();
    void keepFolderStructureChanged();
    void plainWavChanged();
    void outputFolderChanged();
    void isConvertingChanged();
    void overallProgressChanged();
    void statusLineChanged();
    void showAdvancedChanged();
    void showOverlayChanged();
    void phaseTitleChanged();
    void phaseDetailChanged();
    void phaseDoneChanged();
    void phaseFailedChanged();
    void pendingCountChanged();
    void takingInChanged();

private:
    struct BatchSnapshot;
    class BatchWorker;

    // QML-facing forms of the settings.
    QString sourceFormatChoiceId() const { return QString::fromLatin1(sourceFormatChoice_.id()); }
    void setSourceFormatChoiceId(const QString& id);
    int sourceRateHz() const { return static_cast<int>(sourceRate_.rawValue()); }
    void setSourceRateHz(int hz);
    int targetRateHz() const { return static_cast<int>(targetRate_.rawValue()); }
    void setTargetRateHz(int hz);
    int targetDepthBits() const { return static_cast<int>(targetDepth_.rawValue()); }
    void setTargetDepthBits(int bits);
    QString targetChannelsId() const { return QString::fromUtf8(targetChannels_.rawValue()); }
    void setTargetChannelsId(const QString& raw);
    QUrl defaultOutDirUrl() const { return defaultOutDir().value_or(QUrl()); }
    static QVariantList targetRateOptions();
    static QVariantList targetDepthOptions();
    static QVariantList targetChannelsOptions();
    static QVariantList sourceFormatOptions();
    static QVariantList sourceRateOptions();

    void setIsConverting(bool on);
    void setOverallProgress(double progress);
    void setStatusLine(const QString& text);
    void setShowOverlay(bool on);
    void setPhaseTitle(const QString& text);
    void setPhaseDetail(const QString& text);
    void setPhaseDone(bool on);
    void setPhaseFailed(bool on);

    FileItemPtr find(const FileItem* item) const;
    // The split-stereo pair the item is one half of, when the other half is queued too.
    std::optional<QueuedSource> pairWith(const FileItem* item) const;
    std::vector<FileItemPtr> queuedHalves(const QueuedSource& pair) const;
    void takeInNext();
    void appendItems(const std::vector<FileItemPtr>& added);
    void reportSkipped(const std::vector<SkippedPath>& skipped);
    void detectPairItem(const FileItemPtr& item, SourceFormatChoice choice);
    // A finished detection: shown on its row, kept as the item's own reading, and once every
    // detection of its folder is in, the folder's session applied to its rows.
    void showReading(const FileItemPtr& item, const FileItem::Reading& reading);
    void settleFolder(const std::filesystem::path& folder);
    void runBatch(const BatchSnapshot& snapshot);
    void pause(double seconds); // the worker's pauses; none once the run is stopped

    // Runs `change` on the main thread, after everything posted before it.
    template <class Change>
    void post(Change change)
    {
        handOff(this);
        QMetaObject::invokeMethod(
            this,
            [this, change = std::move(change)]() mutable {
                takeOver(this);
                change();
            },
            Qt::QueuedConnection);
    }

    // Runs `job` on `pool`; higher priorities first.
    void inBackground(QThreadPool& pool, std::function<void()> job, int priority = 0);

    ModelServices services_;
    FileListModel items_;
    FileSections rows_{&items_};
    SourceFormatChoice sourceFormatChoice_ = SourceFormatChoice::automatic();
    SourceRate sourceRate_ = SourceRate::r44100;
    TargetRate targetRate_ = TargetRate::r48000;
    TargetDepth targetDepth_ = TargetDepth::d24;
    TargetChannels targetChannels_ = TargetChannels::stereo;
    bool normalizeLoudness_ = false;
    bool keepFolderStructure_ = false;
    bool plainWav_ = false;
    QUrl outputFolder_;
    bool isConverting_ = false;
    double overallProgress_ = 0.0;
    QString statusLine_;
    bool showAdvanced_ = false;
    bool showOverlay_ = false;
    QString phaseTitle_;
    QString phaseDetail_;
    bool phaseDone_ = false;
    bool phaseFailed_ = false;
    std::unique_ptr<PreviewPlayer> previewSound_;
    int lastPendingCount_ = 0;
    std::map<std::filesystem::path, int> detecting_; // detections running, by folder
    bool takingIn_ = false;
    std::deque<PathList> waitingIntake_;
    QThreadPool intakePool_;
    QThreadPool detectionPool_;
    std::thread worker_;
    std::atomic<bool> stop_{false};
};

} // namespace quorvel
