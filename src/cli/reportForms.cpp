#include "cli/reportForms.hpp"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <cmath>

namespace quorvel::cli {

namespace {

constexpr std::array<std::string_view, 27> kColumns{
    "path",      "rawPath",       "pair",       "rawRight", "output",      "rawOutput", "ok",
    "status",    "error",         "format",     "channels", "autoCorrected", "from",    "size",
    "modified",  "rightSize",     "rightModified", "outputSize", "sha256", "rightSha256", "audioMD5",
    "frames",    "rate",          "encodingFrom", "layoutFrom", "rateFrom", "settings"};

std::string cellOf(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::String: return value.toString().toStdString();
    case QJsonValue::Bool: return value.toBool() ? "true" : "false";
    case QJsonValue::Double: {
        const double number = value.toDouble();
        return (std::floor(number) == number ? QString::number(value.toInteger()) : QString::number(number, 'g', 17))
            .toStdString();
    }
    case QJsonValue::Object: return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact).toStdString();
    default: return {};
    }
}

std::string quoted(const std::string& cell)
{
    if (cell.find_first_of(",\"\r\n") == std::string::npos)
        return cell;
    std::string text = "\"";
    for (const char c : cell)
        text += c == '"' ? std::string("\"\"") : std::string(1, c);
    return text + "\"";
}

} // namespace

ReportCells jsonCells(std::string_view line)
{
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(line.data(), static_cast<qsizetype>(line.size())));
    ReportCells cells;
    const QJsonObject object = document.object();
    for (auto field = object.begin(); field != object.end(); ++field)
        cells[field.key().toStdString()] = cellOf(field.value());
    return cells;
}

bool isCsvReport(const std::filesystem::path& report)
{
    const QString extension = QString::fromStdString(report.extension().string());
    return extension.compare(".csv", Qt::CaseInsensitive) == 0;
}

std::string csvHeader()
{
    std::string row;
    for (const std::string_view column : kColumns) {
        if (!row.empty())
            row += ',';
        row += column;
    }
    return row + "\r";
}

std::string csvRow(std::string_view jsonLine)
{
    const ReportCells cells = jsonCells(jsonLine);
    std::string row;
    for (std::size_t i = 0; i < kColumns.size(); ++i) {
        if (i > 0)
            row += ',';
        if (const auto cell = cells.find(std::string(kColumns[i])); cell != cells.end())
            row += quoted(cell->second);
    }
    return row + "\r";
}

std::optional<std::vector<std::string>> readCsvRecord(std::istream& in)
{
    if (in.peek() == std::char_traits<char>::eof())
        return std::nullopt;
    std::vector<std::string> record(1);
    bool quotedField = false;
    for (int c; (c = in.get()) != std::char_traits<char>::eof();) {
        if (quotedField) {
            if (c == '"' && in.peek() == '"')
                record.back() += static_cast<char>(in.get());
            else if (c == '"')
                quotedField = false;
            else
                record.back() += static_cast<char>(c);
        } else if (c == '"')
            quotedField = true;
        else if (c == ',')
            record.emplace_back();
        else if (c == '\n')
            break;
        else if (c != '\r')
            record.back() += static_cast<char>(c);
    }
    return record;
}

} // namespace quorvel::cli
