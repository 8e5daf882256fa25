#include "cli/earlierRun.hpp"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <fstream>
#include <system_error>

namespace quorvel::cli {

namespace fs = std::filesystem;

namespace {

QJsonObject parsed(const std::string& line) { return QJsonDocument::fromJson(QByteArray::fromStdString(line)).object(); }

std::string sourceKey(const QJsonObject& line)
{
    return (line.value("path").toString() + QChar(0) + line.value("rawPath").toString()).toStdString();
}

fs::path outputOf(const QJsonObject& line)
{
    const QJsonValue raw = line.value("rawOutput");
    if (raw.isString())
        return QByteArray::fromPercentEncoding(raw.toString().toLatin1()).toStdString();
    return line.value("output").toString().toStdString();
}

} // namespace

std::optional<EarlierRun> EarlierRun::read(const fs::path& report, std::string& error)
{
    EarlierRun run;
    std::error_code missing;
    if (!fs::exists(report, missing) && !missing)
        return run;
    std::ifstream in(report, std::ios::binary);
    if (!in) {
        error = std::generic_category().message(errno);
        return std::nullopt;
    }
    for (std::string line; std::getline(in, line);)
        if (const QJsonObject object = parsed(line); object.value("path").isString())
            run.lines_[sourceKey(object)] = std::move(line);
    if (in.bad()) {
        error = std::generic_category().message(errno);
        return std::nullopt;
    }
    return run;
}

bool EarlierRun::converted(const FileRecord& before) const
{
    const QJsonObject now = parsed(jsonLine(before));
    const auto found = lines_.find(sourceKey(now));
    if (found == lines_.end())
        return false;
    const QJsonObject then = parsed(found->second);
    if (!then.value("ok").toBool())
        return false;
    for (const char* key : {"pair", "rawRight", "size", "modified", "rightSize", "rightModified", "settings"})
        if (then.value(key) != now.value(key))
            return false;
    const fs::path output = outputOf(then);
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(output, error)))
        return false;
    const auto size = fs::file_size(output, error);
    return !error && then.value("outputSize").isDouble() &&
           static_cast<qint64>(size) == then.value("outputSize").toInteger();
}

} // namespace quorvel::cli
