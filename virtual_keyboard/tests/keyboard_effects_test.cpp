#include "virtual_keyboard/keyboard_effects.h"

#include <QTest>

#include <algorithm>
#include <numeric>
#include <set>

using namespace tavik::virtual_keyboard;
using namespace std::chrono_literals;

namespace {

constexpr int columns = 16;
constexpr int rows = 6;

std::vector<LightSpot> gridOfSpots()
{
    std::vector<LightSpot> spots;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column)
            spots.push_back(
                {.index = spots.size(), .x = (column + 0.5) / columns, .y = (row + 0.5) / rows});
    }
    return spots;
}

int code(std::string_view name)
{
    return static_cast<int>(std::ranges::find(effectNames, name) - effectNames.begin());
}

KeyboardState heldBy(int effect)
{
    KeyboardState state;
    state.lighting = {static_cast<std::uint8_t>(effect), 200, 100, 40, 0, 0, 0, 0, 0, 5, 3};
    return state;
}

using Picture = std::vector<KeyColor>;

LightScene sceneAt(const KeyboardState& held, std::chrono::milliseconds now,
                   const std::vector<KeyPress>& presses)
{
    static const std::vector<LightSpot> spots = gridOfSpots();
    return {.held = held, .spots = spots, .aspect = 8.0 / 3, .presses = presses, .now = now};
}

Picture pictureAt(const KeyboardState& held, std::chrono::milliseconds now,
                  const std::vector<KeyPress>& presses = {})
{
    const LightScene scene = sceneAt(held, now, presses);
    Picture picture;
    for (const LightSpot& spot : scene.spots)
        picture.push_back(keyLight(scene, spot));
    return picture;
}

bool movesAt(const KeyboardState& held, std::chrono::milliseconds now,
             const std::vector<KeyPress>& presses = {})
{
    return lightMoves(sceneAt(held, now, presses));
}

KeyPress pressOf(std::size_t index, std::chrono::milliseconds time)
{
    return {.spot = gridOfSpots().at(index), .time = time};
}

// Pictures of two minutes, so that everything an effect does is in it.
std::vector<Picture> filmOf(const KeyboardState& held)
{
    std::vector<Picture> film;
    for (int frame = 0; frame < 100; ++frame)
        film.push_back(pictureAt(held, 1000000ms + frame * 1193ms));
    return film;
}

int brightness(const Picture& picture)
{
    return std::accumulate(picture.begin(), picture.end(), 0,
                           [](int sum, const KeyColor& color) { return sum + color[0]; });
}

// How much changes within 20 ms, at many moments.
double pace(const KeyboardState& held)
{
    double changes = 0;
    for (int frame = 0; frame < 600; ++frame) {
        const Picture before = pictureAt(held, 1000000ms + frame * 97ms);
        const Picture after = pictureAt(held, 1000020ms + frame * 97ms);
        for (std::size_t key = 0; key < before.size(); ++key)
            changes += std::abs(before[key][0] - after[key][0]);
    }
    return changes;
}

// Without a pressed key.
const std::set<int> restingEffects{code("LED Off"), code("Static"), code("SingleOn"),
                                   code("SingleOff")};
const std::set<int> darkEffects{code("LED Off"), code("SingleOn")};

} // namespace

class KeyboardEffectsTest : public QObject
{
    Q_OBJECT

    static void everyEffect()
    {
        QTest::addColumn<int>("effect");
        for (std::size_t effect = 0; effect < effectNames.size(); ++effect)
            QTest::newRow(effectNames[effect].data()) << static_cast<int>(effect);
    }

    static void effectsNamed(std::initializer_list<const char*> names)
    {
        QTest::addColumn<int>("effect");
        for (const char* name : names)
            QTest::newRow(name) << code(name);
    }

private slots:
    void everyEffectMovesAsItsNameSays_data() { everyEffect(); }
    void everyEffectMovesAsItsNameSays()
    {
        QFETCH(const int, effect);
        const KeyboardState held = heldBy(effect);
        const bool rests = restingEffects.contains(effect);
        QCOMPARE(movesAt(held, 1000000ms), !rests);
        QCOMPARE(pictureAt(held, 1000000ms) != pictureAt(held, 1000300ms), !rests);
    }

    void everyEffectLightsInTheChosenColorOnly_data() { everyEffect(); }
    void everyEffectLightsInTheChosenColorOnly()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        int strongest = 0;
        for (const Picture& picture : filmOf(held)) {
            for (const KeyColor& color : picture) {
                QVERIFY(std::abs(color[1] * 2 - color[0]) <= 2);
                QVERIFY(std::abs(color[2] * 5 - color[0]) <= 5);
                strongest = std::max<int>(strongest, color[0]);
            }
        }
        QVERIFY2(darkEffects.contains(effect) ? strongest == 0 : strongest > 170,
                 qPrintable(QString::number(strongest)));
    }

    void randomColorsAreMoreThanOne_data() { everyEffect(); }
    void randomColorsAreMoreThanOne()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        held.lighting[8] = 1;
        std::array<bool, 3> mostly{};
        for (const Picture& picture : filmOf(held)) {
            for (const KeyColor& color : picture) {
                const auto strongest = std::ranges::max_element(color);
                if (*strongest > 100)
                    mostly.at(static_cast<std::size_t>(strongest - color.begin())) = true;
            }
        }
        QCOMPARE(mostly == (std::array{true, true, true}), !darkEffects.contains(effect));
    }

    void brightnessDimsEvenly_data() { everyEffect(); }
    void brightnessDimsEvenly()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        const std::vector<KeyPress> presses{pressOf(40, 999900ms)};
        const int full = brightness(pictureAt(held, 1000000ms, presses));
        for (std::uint8_t step = 0; step <= 5; ++step) {
            held.lighting[9] = step;
            const Picture picture = pictureAt(held, 1000000ms, presses);
            QVERIFY(std::abs(brightness(picture) * 5 - full * step) <= 5 * columns * rows);
        }
        held.lighting[9] = 0;
        QCOMPARE(brightness(pictureAt(held, 1000000ms, presses)), 0);
        QVERIFY(!movesAt(held, 1000000ms, presses));
    }

    void everyStepOfSpeedIsFaster_data() { everyEffect(); }
    void everyStepOfSpeedIsFaster()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        double slower = -1;
        for (std::uint8_t speed = 0; speed <= 5; ++speed) {
            held.lighting[10] = speed;
            const double now = pace(held);
            if (movesAt(held, 1000000ms))
                QVERIFY2(now > slower * 1.05, qPrintable(QString::number(speed)));
            else
                QCOMPARE(now, 0.0);
            slower = now;
        }
    }

    // A picture turned about shows what the opposite direction shows.
    void directionsAreMirrored_data() { effectsNamed({"Scrolling", "Rolling", "Tilt", "Shuttle"}); }
    void directionsAreMirrored()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        std::array<Picture, 4> pictures;
        for (std::uint8_t direction = 0; direction < 4; ++direction) {
            held.lighting[11] = direction;
            pictures.at(direction) = pictureAt(held, 1000450ms);
        }
        for (std::size_t key = 0; key < columns * rows; ++key) {
            const std::size_t row = key / columns;
            const std::size_t column = key % columns;
            const auto isNear = [](const KeyColor& one, const KeyColor& other) {
                return std::abs(one[0] - other[0]) <= 1;
            };
            QVERIFY(isNear(pictures[0][key], pictures[3][row * columns + columns - 1 - column]));
            QVERIFY(isNear(pictures[1][key], pictures[2][(rows - 1 - row) * columns + column]));
        }
        QVERIFY(pictures[0] != pictures[1]);
        QVERIFY(pictures[0] != pictures[3]);
        QVERIFY(pictures[1] != pictures[2]);
    }

    void allFourDirectionsDiffer_data()
    {
        effectsNamed({"Falling", "Scrolling", "Rolling", "Launch", "Flowing", "Tilt", "Shuttle"});
    }
    void allFourDirectionsDiffer()
    {
        QFETCH(const int, effect);
        KeyboardState held = heldBy(effect);
        std::vector<Picture> pictures;
        for (std::uint8_t direction = 0; direction < 4; ++direction) {
            held.lighting[11] = direction;
            pictures.push_back(pictureAt(held, 1000300ms, {pressOf(40, 1000000ms)}));
            for (std::size_t other = 0; other + 1 < pictures.size(); ++other)
                QVERIFY(pictures[other] != pictures.back());
        }
    }

    // The bright bar of the shuttle leaves the edge where the direction begins.
    void lightRunsInItsDirection_data()
    {
        QTest::addColumn<int>("direction");
        QTest::addColumn<QPointF>("way");
        QTest::newRow("right") << 0 << QPointF(1, 0);
        QTest::newRow("down") << 1 << QPointF(0, 1);
        QTest::newRow("up") << 2 << QPointF(0, -1);
        QTest::newRow("left") << 3 << QPointF(-1, 0);
    }
    void lightRunsInItsDirection()
    {
        QFETCH(const int, direction);
        QFETCH(const QPointF, way);
        KeyboardState held = heldBy(code("Shuttle"));
        held.lighting[10] = 0;
        held.lighting[11] = static_cast<std::uint8_t>(direction);
        const auto place = [&](std::chrono::milliseconds now) {
            const Picture picture = pictureAt(held, now);
            const auto spots = gridOfSpots();
            QPointF sum;
            double all = 0;
            for (std::size_t key = 0; key < picture.size(); ++key) {
                sum += QPointF(spots[key].x, spots[key].y) * picture[key][0];
                all += picture[key][0];
            }
            return sum / all;
        };
        // A beat lasts four seconds, and there and back are two beats.
        const QPointF step = place(2500ms) - place(1500ms);
        QVERIFY(QPointF::dotProduct(step, way) > 0.1);
    }

    void aPressedKeyLightsUpAndFades()
    {
        const KeyboardState held = heldBy(code("SingleOn"));
        const std::vector<KeyPress> presses{pressOf(40, 1000000ms)};
        const Picture early = pictureAt(held, 1000050ms, presses);
        const Picture later = pictureAt(held, 1000900ms, presses);
        QVERIFY(early[40][0] > 180);
        QVERIFY(later[40][0] > 20 && later[40][0] < early[40][0]);
        QCOMPARE(brightness(early), int{early[40][0]});
        QVERIFY(movesAt(held, 1000900ms, presses));
        QVERIFY(!movesAt(held, 1000000ms + longestPressEffect, presses));
        QCOMPARE(brightness(pictureAt(held, 1000000ms + longestPressEffect, presses)), 0);
    }

    void aPressedKeyGoesOutAndComesBack()
    {
        const KeyboardState held = heldBy(code("SingleOff"));
        const std::vector<KeyPress> presses{pressOf(40, 1000000ms)};
        QVERIFY(pictureAt(held, 1000050ms, presses)[40][0] < 20);
        QCOMPARE(pictureAt(held, 1000050ms, presses)[41][0], std::uint8_t{200});
        QCOMPARE(pictureAt(held, 1000000ms + longestPressEffect, presses)[40][0],
                 std::uint8_t{200});
    }

    void burstsStartAtPressedKeys_data() { effectsNamed({"Explode", "Launch", "Ripples"}); }
    void burstsStartAtPressedKeys()
    {
        QFETCH(const int, effect);
        const KeyboardState held = heldBy(effect);
        for (const std::size_t key : {0U, 40U, 95U}) {
            const Picture without = pictureAt(held, 1000120ms);
            const Picture with = pictureAt(held, 1000120ms, {pressOf(key, 1000000ms)});
            QVERIFY(with[key][0] >= without[key][0]);
            QVERIFY(with[key][0] > 100);
        }
    }

    void customColorsAreThoseOfTheBank()
    {
        KeyboardState held = heldBy(customEffect);
        held.colorBank[3] = {10, 200, 100};
        QCOMPARE(pictureAt(held, 1000000ms)[3], (KeyColor{10, 200, 100}));
        QCOMPARE(pictureAt(held, 1000000ms)[4], KeyColor{});
        held.lighting[9] = 1;
        QCOMPARE(pictureAt(held, 1000000ms)[3], (KeyColor{2, 40, 20}));
        QVERIFY(!movesAt(held, 1000000ms));
    }
};

QTEST_GUILESS_MAIN(KeyboardEffectsTest)
#include "keyboard_effects_test.moc"
