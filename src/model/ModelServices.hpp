#pragma once

#include <QString>
#include <QUrl>

#include <functional>
#include <memory>

namespace quorvel {

// A sound being auditioned; stopping or dropping it silences it.
class PreviewPlayer {
public:
    virtual ~PreviewPlayer() = default;
    virtual void play() = 0;
    virtual void stop() = 0;
};

// What the model needs from the world beyond its own state. The app uses the real ones;
// tests record instead of sleeping, sounding or opening windows.
struct ModelServices {
    // The batch worker's fixed pauses, in seconds; called on the worker thread.
    std::function<void(double seconds)> pause;
    // A player for a WAV file, made on the main thread; nullptr when nothing can play it.
    // `failed` is for errors that show only later (a file the player cannot load after all).
    std::function<std::unique_ptr<PreviewPlayer>(const QString& wavPath, std::function<void()> failed)> makePlayer;
    // Shows a folder in the file manager; false when none could be opened.
    std::function<bool(const QUrl& folder)> reveal;

    // Real sleeps, Qt Multimedia and the desktop's file manager.
    static ModelServices system();
};

} // namespace quorvel
