// The command-line parser on a table of its own, and the nearest-word search:
// forms that must mean the same, help that wins, mistakes that are kept, and
// random word lists that never break it.

#include "OrvCommandLine.h"
#include "OrvDidYouMean.h"

#include <gtest/gtest.h>

#include <random>

namespace {

int ran = 0;

OrvCommandLine table()
{
    const auto run = [](const OrvArguments&) { return ++ran; };
    return OrvCommandLine({{"verbose", nullptr, "v"},
                           {"language", "de|en", "l", OrvValueKind::None, "de en"},
                           {"camera", "MODEL=PORT", "c", OrvValueKind::None, nullptr, OrvOption::Repeatable},
                           {"photo-list", "FILE", "p", OrvValueKind::File, nullptr, 0, nullptr, "foto-list"}},
                          {{"tree",
                            "t",
                            "t",
                            {{"source", "SERVICE", "s"}, {"json", nullptr, "j"}},
                            nullptr,
                            0,
                            0,
                            nullptr,
                            OrvValueKind::None,
                            run},
                           {"export",
                            "e",
                            "e",
                            {{"source", "SERVICE", "s", OrvValueKind::Service, nullptr, OrvOption::Required},
                             {"format", "F", "f", OrvValueKind::None, "jpeg png original"}},
                            nullptr,
                            0,
                            0,
                            nullptr,
                            OrvValueKind::None,
                            run},
                           {"ls", "l", "l", {}, "PATH", 1, 1, nullptr, OrvValueKind::Directory, run},
                           {"paste", "p", "p", {}, "FILE...", 1, -1, nullptr, OrvValueKind::File, run},
                           {"autostart", "a", "a", {}, "[on|off]", 0, 1, "on off", OrvValueKind::None, run}});
}

OrvArguments parse(const QStringList& words) { return table().parse(words); }

} // namespace

TEST(CommandLine, OneMeaningWhateverTheForm)
{
    const OrvArguments apart = parse({"--language", "de", "tree", "--source", "photokit", "--json"});
    ASSERT_FALSE(apart.hasError());
    for (const QStringList& words :
         {QStringList{"--language=de", "tree", "--source=photokit", "--json"},
          QStringList{"tree", "--json", "--language", "de", "--source", "photokit"},
          QStringList{"tree", "--source", "iphoto", "--source", "photokit", "--language=de", "--json"}}) {
        const OrvArguments other = parse(words);
        ASSERT_FALSE(other.hasError()) << words.join(' ').toStdString();
        EXPECT_EQ(other.command(), apart.command());
        EXPECT_EQ(other.value("source"), QStringLiteral("photokit"));
        EXPECT_EQ(other.value("language"), QStringLiteral("de"));
        EXPECT_TRUE(other.isSet("json"));
    }
    // A value that looks like an option is still the value; "--" ends the options.
    EXPECT_EQ(parse({"tree", "--source", "--json"}).value("source"), QStringLiteral("--json"));
    const OrvArguments ended = parse({"ls", "--", "--json"});
    ASSERT_FALSE(ended.hasError());
    EXPECT_EQ(ended.arguments(), QStringList{"--json"});
    // Repeatable options keep every value, others the last; an old name is the new one.
    EXPECT_EQ(parse({"--camera", "a=disk:/x", "tree", "--camera=b=usb:"}).values("camera"),
              (QStringList{"a=disk:/x", "b=usb:"}));
    EXPECT_EQ(parse({"--foto-list", "old", "tree"}).value("photo-list"), QStringLiteral("old"));
    EXPECT_EQ(parse({"paste", "a", "b", "c"}).arguments().size(), 3);
}

TEST(CommandLine, EachMistakeIsKeptWithWhatWasMeant)
{
    struct Case
    {
        QStringList words;
        OrvCommandLineError::Kind kind;
        QString subject;
        QString suggestion;
    };
    const QList<Case> cases = {
        {{}, OrvCommandLineError::NoCommand, {}, {}},
        {{"--verbose"}, OrvCommandLineError::NoCommand, {}, {}},
        {{"exprt"}, OrvCommandLineError::UnknownCommand, "exprt", "export"},
        {{"EXPORT"}, OrvCommandLineError::UnknownCommand, "EXPORT", "export"},
        {{"tree", "--sorce", "x"}, OrvCommandLineError::UnknownOption, "--sorce", "--source"},
        {{"tree", "-json"}, OrvCommandLineError::UnknownOption, "-json", "--json"},
        {{"--verbos", "tree"}, OrvCommandLineError::UnknownOption, "--verbos", "--verbose"},
        {{"tree", "--source"}, OrvCommandLineError::MissingValue, "--source", {}},
        {{"tree", "--json=1"}, OrvCommandLineError::UnexpectedValue, "--json", {}},
        {{"export", "--source", "x", "--format", "jpg"}, OrvCommandLineError::BadChoice, "--format", "jpeg"},
        {{"--language", "fr", "tree"}, OrvCommandLineError::BadChoice, "--language", {}},
        {{"export", "--format", "png"}, OrvCommandLineError::MissingOption, "--source", {}},
        {{"ls"}, OrvCommandLineError::MissingArgument, "PATH", {}},
        {{"ls", "a", "b"}, OrvCommandLineError::TooManyArguments, {}, {}},
        {{"autostart", "of"}, OrvCommandLineError::BadChoice, "autostart", "off"},
        // The first mistake is the one kept.
        {{"tree", "--bogus", "--json=1"}, OrvCommandLineError::UnknownOption, "--bogus", {}},
    };
    for (const Case& c : cases) {
        const OrvArguments arguments = parse(c.words);
        SCOPED_TRACE(c.words.join(' ').toStdString());
        EXPECT_EQ(arguments.error().kind, c.kind);
        EXPECT_EQ(arguments.error().subject, c.subject);
        EXPECT_EQ(arguments.error().suggestion, c.suggestion);
        EXPECT_FALSE(OrvCommandLine::describe(arguments.error()).isEmpty());
        if (!c.suggestion.isEmpty()) {
            EXPECT_TRUE(OrvCommandLine::describe(arguments.error()).contains(c.suggestion));
        }
    }
    EXPECT_TRUE(OrvCommandLine::describe(parse({"tree"}).error()).isEmpty());
}

TEST(CommandLine, HelpWinsUnlessItIsAValue)
{
    for (const QStringList& words : {QStringList{"-h"}, QStringList{"--help"}, QStringList{"exprt", "--help"},
                                     QStringList{"export", "--bogus", "-h"}, QStringList{"--language", "fr", "--help"},
                                     QStringList{"ls", "a", "b", "--help"}}) {
        EXPECT_TRUE(parse(words).wantsHelp()) << words.join(' ').toStdString();
    }
    EXPECT_FALSE(parse({"ls", "--", "--help"}).wantsHelp());
    EXPECT_FALSE(parse({"tree", "--source", "--help"}).wantsHelp());
}

// Random words from the table's vocabulary and beyond: parsing always ends, a
// result is either a mistake or a known command with its required options,
// and help is asked for exactly when -h or --help stands before "--" and is no value.
TEST(CommandLine, RandomWordsNeverBreakIt)
{
    const QStringList vocabulary
        = {"tree",      "export",  "ls",        "paste",    "autostart", "on",         "--",         "-",    "-h",
           "--help",    "--json",  "--source",  "--format", "jpeg",      "--language", "de",         "en",   "--camera",
           "--verbose", "--json=", "--source=", "=",        "",          "x",          "--\xc3\xa4", "-\x01"};
    std::mt19937 random(21);
    const OrvCommandLine commandLine = table();
    for (int round = 0; round < 20000; ++round) {
        QStringList words;
        const int count = int(random() % 8);
        for (int i = 0; i < count; ++i)
            words.append(vocabulary.at(int(random() % vocabulary.size())));
        const OrvArguments arguments = commandLine.parse(words);
        SCOPED_TRACE(words.join(' ').toStdString());
        if (arguments.wantsHelp()) {
            ASSERT_TRUE(words.contains("-h") || words.contains("--help"));
            continue;
        }
        if (arguments.hasError()) {
            ASSERT_FALSE(OrvCommandLine::describe(arguments.error()).isEmpty());
            continue;
        }
        const OrvCommandSpec* spec = commandLine.command(arguments.command());
        ASSERT_NE(spec, nullptr);
        for (const OrvOption& option : spec->options) {
            if (option.flags & OrvOption::Required) {
                ASSERT_TRUE(arguments.isSet(option.name));
            }
        }
        ASSERT_GE(arguments.arguments().size(), spec->minArguments);
        if (spec->maxArguments >= 0) {
            ASSERT_LE(arguments.arguments().size(), spec->maxArguments);
        }
    }
}

TEST(DidYouMean, DistanceIsAMetricOverEdits)
{
    EXPECT_EQ(OrvDidYouMean::distance("", ""), 0);
    EXPECT_EQ(OrvDidYouMean::distance("source", ""), 6);
    EXPECT_EQ(OrvDidYouMean::distance("sorce", "source"), 1);
    EXPECT_EQ(OrvDidYouMean::distance("exprot", "export"), 1); // two neighbours swapped
    EXPECT_EQ(OrvDidYouMean::distance("kitten", "sitting"), 3);
    const QStringList words = {"", "a", "ab", "ba", "abc", "source", "sorce", "export", "exprot", "Fotos", "photos"};
    for (const QString& a : words) {
        for (const QString& b : words) {
            EXPECT_EQ(OrvDidYouMean::distance(a, b), OrvDidYouMean::distance(b, a));
            EXPECT_EQ(OrvDidYouMean::distance(a, b) == 0, a == b);
            EXPECT_LE(OrvDidYouMean::distance(a, b), std::max(a.size(), b.size()));
        }
    }
}

TEST(DidYouMean, NearOnlyWhenPlausible)
{
    const QStringList services = {"iphoto", "aperture", "photokit", "applephotos", "appleimagecapture"};
    EXPECT_EQ(OrvDidYouMean::nearest("photkit", services), QStringLiteral("photokit"));
    EXPECT_EQ(OrvDidYouMean::nearest("IPHOTO", services), QStringLiteral("iphoto"));
    EXPECT_EQ(OrvDidYouMean::nearest("apple", services), QStringLiteral("applephotos"));
    EXPECT_EQ(OrvDidYouMean::nearest("x", services), QString());
    EXPECT_EQ(OrvDidYouMean::nearest("", services), QString());
    EXPECT_EQ(OrvDidYouMean::nearest("lightroom", services), QString());
    EXPECT_EQ(OrvDidYouMean::nearest("ls", {"tree", "ls"}), QStringLiteral("ls"));
    EXPECT_EQ(OrvDidYouMean::nearest("lx", {"tree", "export"}), QString());
    EXPECT_EQ(OrvDidYouMean::nearest("of", {"on", "off"}), QStringLiteral("off"));
    // Words of any length cost no more than a bounded comparison.
    EXPECT_EQ(OrvDidYouMean::nearest(QString(100000, 'a'), services), QString());
    EXPECT_EQ(OrvDidYouMean::nearest("photokit", {QString(100000, 'p')}), QString());
}
