#include "model/ModelServices.hpp"

#include <QAudioDevice>
#include <QDesktopServices>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QThread>

#include <cmath>

namespace quorvel {

namespace {

class SoundEffectPlayer : public PreviewPlayer {
public:
    SoundEffectPlayer(const QString& wavPath, std::function<void()> failed)
    {
        QObject::connect(&effect_, &QSoundEffect::statusChanged, &effect_, [this, failed = std::move(failed)] {
            if (effect_.status() == QSoundEffect::Error)
                failed();
        });
        effect_.setSource(QUrl::fromLocalFile(wavPath));
    }
    void play() override { effect_.play(); }
    void stop() override { effect_.stop(); }

private:
    QSoundEffect effect_;
};

} // namespace

ModelServices ModelServices::system()
{
    ModelServices services;
    services.pause = [](double seconds) { QThread::usleep(static_cast<unsigned long>(std::lround(seconds * 1e6))); };
    services.makePlayer = [](const QString& wavPath, std::function<void()> failed) -> std::unique_ptr<PreviewPlayer> {
        // Without an output device a sound effect would wait forever for one.
        if (QMediaDevices::audioOutputs().isEmpty())
            return nullptr;
        return std::make_unique<SoundEffectPlayer>(wavPath, std::move(failed));
    };
    services.reveal = [](const QUrl& folder) { return QDesktopServices::openUrl(folder); };
    return services;
}

} // namespace quorvel
