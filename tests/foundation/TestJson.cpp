#include "foundation/Json.h"

#include <gmock/gmock.h>

namespace tallowfern {

enum class Tone { Soft, Loud };
inline constexpr auto enumStrings(Tone)
{
    return std::array{EnumString{Tone::Soft, "soft"}, EnumString{Tone::Loud, "loud"}};
}

namespace {

using namespace Qt::StringLiterals;

struct Inner {
    QString name;
    bool operator==(const Inner&) const = default;
    static constexpr auto jsonFields() { return std::make_tuple(json::required("name", &Inner::name)); }
};

struct Sample {
    quint32 count = 0;
    double ratio = 0;
    Tone tone = Tone::Soft;
    QDateTime date = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    std::optional<QString> note;
    QList<Inner> inner;
    bool kind = true;
    bool operator==(const Sample&) const = default;
    static constexpr auto jsonFields()
    {
        return std::make_tuple(json::required("count", &Sample::count), json::required("ratio", &Sample::ratio),
            json::required("tone", &Sample::tone), json::required("date", &Sample::date),
            json::required("note", &Sample::note), json::required("inner", &Sample::inner),
            json::tolerated("kind", &Sample::kind));
    }
};

const QByteArray kGood
    = R"({"count":3,"ratio":1.5,"tone":"loud","date":"2026-01-02T03:04:05Z","inner":[{"name":"a"}]})";

TEST(Json, RecordsReturnAsTheyWere)
{
    Sample sample;
    sample.count = 4294967295;
    sample.ratio = 0.1;
    sample.tone = Tone::Loud;
    sample.note = u"Zürich 😀"_s;
    sample.inner = {{u"x"_s}, {u"y"_s}};
    sample.kind = false;
    EXPECT_EQ(json::decode<Sample>(json::encodeForStorage(sample)), sample);
    sample.note.reset();
    const QByteArray bytes = json::encodeForStorage(sample);
    EXPECT_FALSE(bytes.contains("note"));
    EXPECT_TRUE(bytes.contains("\"2026-01-02T03:04:05Z\""));
}

TEST(Json, OnlyAToleratedKeyMayBeMissing)
{
    EXPECT_TRUE(json::decode<Sample>(kGood).kind);
    struct Case {
        const char* from;
        const char* to;
    };
    const Case cases[] = {
        {"\"count\":3", "\"count\":-1"},
        {"\"count\":3", "\"count\":1.5"},
        {"\"count\":3", "\"count\":\"3\""},
        {"\"count\":3", "\"count\":4294967296"},
        {"\"count\":3,", ""},
        {"\"loud\"", "\"LOUD\""},
        {"2026-01-02T03:04:05Z", "yesterday"},
        {"\"name\":\"a\"", "\"name\":null"},
        {"\"ratio\"", "\"kind\":1,\"ratio\""},
        {"\"ratio\"", "\"note\":5,\"ratio\""},
        {"}]}", "}]"},
    };
    for (const Case& c : cases)
        EXPECT_THROW(json::decode<Sample>(QByteArray(kGood).replace(c.from, c.to)), json::DecodingError) << c.to;
    EXPECT_THROW(json::decode<Sample>("[]"), json::DecodingError);
    EXPECT_THROW(json::decode<Sample>(""), json::DecodingError);
}

} // namespace
} // namespace tallowfern
