#include "bench/Measure.h"

#include "BeaconryKit/terminal/PromptParser.h"

#include <QDirIterator>
#include <QFile>

#include <cstdio>
#include <cstdlib>

// How fast the captured screens are read, against a plain walk over the lines of the same text.

namespace {

using namespace pelorin;
using namespace pelorin::bench;

const int rounds = repetitions(31);
const int passes = repetitions(40);

QStringList screens() {
    QStringList texts;
    QDirIterator files(QStringLiteral(PELORIN_SOURCE_DIR "/tests/fixtures/screens"), QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (file.open(QIODevice::ReadOnly))
            texts.append(QString::fromUtf8(file.readAll()));
    }
    return texts;
}

/// What anything that looks at every line must do.
qsizetype lines(QStringView text) {
    qsizetype count = 1;
    for (qsizetype end = text.indexOf(u'\n'); end >= 0; end = text.indexOf(u'\n', end + 1))
        ++count;
    return count;
}

/// What `read` makes of all screens, and the seconds of one pass over them.
template <class Read>
std::pair<qsizetype, double> pass(const QStringList& texts, Read read) {
    qsizetype found = 0;
    const auto start = Clock::now();
    for (int repeat = 0; repeat < passes; ++repeat) {
        for (const QString& text : texts)
            found += read(text);
    }
    return {found, secondsSince(start) / passes};
}

} // namespace

int main() {
    const QStringList texts = screens();
    double megabytes = 0;
    for (const QString& text : texts)
        megabytes += static_cast<double>(text.toUtf8().size()) / 1e6;
    std::vector<double> parsing;
    std::vector<double> scanning;
    qsizetype options = 0;
    qsizetype lineCount = 0;
    for (int round = 0; round < rounds; ++round) {
        const auto [optionsFound, parseSeconds] =
            pass(texts, [](const QString& text) { return PromptParser::parse(text).options.size(); });
        const auto [linesFound, scanSeconds] = pass(texts, lines);
        parsing.push_back(parseSeconds);
        scanning.push_back(scanSeconds);
        options = optionsFound / passes;
        lineCount = linesFound / passes;
    }
    // Nothing to read is nothing to measure.
    if (options == 0)
        return EXIT_FAILURE;
    std::printf("%lld screens of %lld lines with %lld options\n", static_cast<long long>(texts.size()),
                static_cast<long long>(lineCount), static_cast<long long>(options));
    std::printf("parser     %8.0f MB/s\n", megabytes / median(parsing));
    std::printf("line scan  %8.0f MB/s\n", megabytes / median(scanning));
    std::printf("ratio      %8.3f of the line scan's speed\n", median(scanning) / median(parsing));
}
