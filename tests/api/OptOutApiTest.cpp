// Opt-outs through the HTTP API with a real client: added once however often it is asked,
// ended, listed with their history; numbers that cannot exist refused; and the proof that
// counts: a later campaign's claim skips the number while it is opted out, and not after.
#include "ApiFixture.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/OptOuts.h"
#include "campaigns/Replies.h"
#include "list/DefaultCountry.h"

namespace {

class OptOutApiTest : public ApiFixture {
protected:
    HttpAnswer optOut(const QString& number) {
        return post("/v1/opt-outs", QJsonObject{{"number", number}}, token);
    }
    // The numbers a sender is handed when it takes up the campaign at `location`, in order,
    // and those it finished on the way as opted out.
    std::pair<QStringList, QStringList> claimAll(const QString& location) {
        const qint64 id = location.section('/', -1).toLongLong();
        StoredRun run(store, StoredRun::Campaign{CampaignStore::folderKey(home.folder), "{}", 0, id});
        run.begin({}, kGsmRoad);
        EXPECT_EQ(run.failure(), "");
        QStringList handed, skipped;
        const auto onTheWay = [&](const RunRecord::Claim& c) {
            if (c.kind == RunRecord::Claim::Kind::OptedOut)
                skipped << c.item.number;
        };
        while (const auto claim = run.claimNext("A", false, {}, onTheWay, true)) {
            handed << claim->item.number;
            run.handing(claim->index, "A");
            SendOutcome answer = SendOutcome::of(Outcome::Sent);
            answer.device = "A";
            run.finish(claim->index, answer, "Done (A)", false);
        }
        run.end();
        return {handed, skipped};
    }
    HttpAnswer campaignTo(const QJsonArray& recipients) {
        HttpAnswer made =
            post("/v1/campaigns", QJsonObject{{"recipients", recipients}, {"text", "Sale"}}, token);
        EXPECT_EQ(made.status, 201) << made.body.toStdString();
        return made;
    }
};

TEST_P(OptOutApiTest, AnOptOutIsAddedOnceEndedOnceAndKeptInTheHistory) {
    const HttpAnswer added = optOut("+44 7400 123456");
    ASSERT_EQ(added.status, 201) << added.body.toStdString();
    const QJsonObject made = added.json().object();
    EXPECT_EQ(made.value("number").toString(), "+447400123456");
    EXPECT_EQ(made.value("how").toString(), "api");
    EXPECT_EQ(added.header("Location"), "/v1/opt-outs/%2B447400123456");
    EXPECT_EQ(isOptedOut(*store, "+447400123456"), std::optional(true));

    // Asked again, in another spelling: the first opt-out stays, nothing is added.
    const HttpAnswer again = optOut("+447400123456");
    EXPECT_EQ(again.status, 200);
    EXPECT_EQ(again.json().object(), made);
    EXPECT_EQ(rowsIn("opt_outs"), 1);

    // The "+" of the path, as itself or encoded.
    for (const char* path : {"/v1/opt-outs/+447400123456", "/v1/opt-outs/%2B447400123456"}) {
        const HttpAnswer one = get(path, token);
        EXPECT_EQ(one.status, 200) << path;
        EXPECT_EQ(one.json().object(), made) << path;
    }
    EXPECT_EQ(get("/v1/opt-outs/%2B447400123457", token).status, 404);
    const QJsonArray active = get("/v1/opt-outs", token).json().object().value("opt_outs").toArray();
    ASSERT_EQ(active.size(), 1);
    EXPECT_EQ(active.at(0).toObject(), made);

    EXPECT_EQ(del("/v1/opt-outs/%2B447400123456", token).status, 204);
    EXPECT_EQ(isOptedOut(*store, "+447400123456"), std::optional(false));
    EXPECT_EQ(del("/v1/opt-outs/+447400123456", token).status, 404);
    EXPECT_EQ(get("/v1/opt-outs/+447400123456", token).status, 404);
    EXPECT_TRUE(get("/v1/opt-outs", token).json().object().value("opt_outs").toArray().isEmpty());

    // Opted out again: a second row; the history holds both, newest first.
    ASSERT_EQ(optOut("+447400123456").status, 201);
    const HttpAnswer history = get("/v1/opt-outs?all=true", token);
    ASSERT_EQ(history.status, 200);
    const QJsonArray all = history.json().object().value("opt_outs").toArray();
    ASSERT_EQ(all.size(), 2);
    EXPECT_TRUE(all.at(0).toObject().value("active").toBool());
    EXPECT_TRUE(all.at(0).toObject().value("ended").isNull());
    EXPECT_FALSE(all.at(1).toObject().value("active").toBool());
    EXPECT_FALSE(all.at(1).toObject().value("ended").toString().isEmpty());
    EXPECT_EQ(all.at(1).toObject().value("since"), made.value("since"));
    EXPECT_EQ(get("/v1/opt-outs?all=yes", token).status, 400);
}

TEST_P(OptOutApiTest, AStopWordOfAReplyIsListedAsTheKeywordsOptOut) {
    ReceivedMessage stop;
    stop.device = "R58M123";
    stop.road = kAndroidRoad;
    stop.sender = "+447400123456";
    stop.text = "STOP";
    ASSERT_TRUE(storeReceived(*store, stop));
    const QJsonArray active = get("/v1/opt-outs", token).json().object().value("opt_outs").toArray();
    ASSERT_EQ(active.size(), 1);
    EXPECT_EQ(active.at(0).toObject().value("how").toString(), "keyword");
    // The API's own add finds it there already.
    EXPECT_EQ(optOut("+447400123456").status, 200);
}

TEST_P(OptOutApiTest, NumbersThatCannotExistAreRefusedAndNothingIsKept) {
    // The last is national, and no country is known.
    for (const char* number : {"+4412", "+999123456789", "hello", "", "07400123456"})
        EXPECT_EQ(optOut(number).status, 400) << number;
    const HttpAnswer refused = optOut("+4412");
    EXPECT_EQ(refused.json().object().value("error").toObject().value("field").toString(), "number");
    for (const QByteArray& body :
         {QByteArray(R"({"number": 447400123456})"), QByteArray(R"({})"), QByteArray("[]"),
          QByteArray(R"({"number": "+447400123456", "note": "x"})"), QByteArray("{\"number\":")})
        EXPECT_EQ(post("/v1/opt-outs", body, token).status, 400) << body.toStdString();
    EXPECT_EQ(get("/v1/opt-outs/hello", token).status, 400);
    EXPECT_EQ(del("/v1/opt-outs/%2B4412", token).status, 400);
    EXPECT_EQ(rowsIn("opt_outs"), 0);
    EXPECT_EQ(post("/v1/opt-outs", QJsonObject{{"number", "+447400123456"}}, QString()).status, 401);
    EXPECT_EQ(rowsIn("opt_outs"), 0);

    // With the data folder's country a national number is read in it, as the command does.
    DefaultCountry country;
    ASSERT_TRUE(country.choose("GB", home.folder));
    EXPECT_EQ(optOut("07400 123456").status, 201);
    EXPECT_EQ(isOptedOut(*store, "07400123456"), std::optional(true));
}

TEST_P(OptOutApiTest, ALaterCampaignSkipsTheNumberOnlyWhileItIsOptedOut) {
    ASSERT_EQ(optOut("+447400123456").status, 201);
    const QJsonArray recipients{"+447400123455", "+447400123456", "+447400123457"};
    const HttpAnswer first = campaignTo(recipients);
    const auto [handed, skipped] = claimAll(first.header("Location"));
    EXPECT_EQ(handed, (QStringList{"+447400123455", "+447400123457"}));
    EXPECT_EQ(skipped, (QStringList{"+447400123456"}));
    const QJsonArray notSent = get(first.header("Location") + "/items?state=not_sent", token)
                                   .json()
                                   .object()
                                   .value("items")
                                   .toArray();
    ASSERT_EQ(notSent.size(), 1);
    EXPECT_EQ(notSent.at(0).toObject().value("to").toString(), "+447400123456");

    ASSERT_EQ(del("/v1/opt-outs/%2B447400123456", token).status, 204);
    const HttpAnswer second = campaignTo(recipients);
    const auto [handedNow, skippedNow] = claimAll(second.header("Location"));
    EXPECT_EQ(handedNow.size(), 3);
    EXPECT_TRUE(skippedNow.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Engines, OptOutApiTest, ::testing::Values("sqlite", "postgresql"));

} // namespace
