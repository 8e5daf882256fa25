#pragma once

#include <QQmlApplicationEngine>
#include <QQuickWindow>

namespace quorvel {

class AppSettings;
class ConverterModel;

// Loads the symbol font, hands the views their model and settings, and opens the window.
// nullptr when the window could not be loaded.
QQuickWindow* openWindow(QQmlApplicationEngine& engine, ConverterModel& model, AppSettings& settings);

} // namespace quorvel
