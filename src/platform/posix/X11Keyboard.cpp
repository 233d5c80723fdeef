#include "platform/posix/X11Keyboard.h"

#include <unistd.h>

#include <array>
#include <optional>
#include <vector>

#include "platform/posix/ChildWork.h"
#include "platform/posix/X11Library.h"

namespace vmlib::posix {

namespace {

using x11::KeyCode;
using x11::KeySym;

constexpr KeySym enter = 0xFF0D, tab = 0xFF09, leftShift = 0xFFE1, rightShift = 0xFFE2;

// Key codes of the platform and the symbols of their keys.
constexpr struct
{
    std::int16_t key;
    KeySym symbol;
} namedKeys[] = {{8, 0xFF08},  {9, tab},     {13, enter},   {16, leftShift}, {16, rightShift}, {17, 0xFFE3},
                 {17, 0xFFE4}, {18, 0xFFE9}, {18, 0xFFEA},  {20, 0xFFE5},    {27, 0xFF1B},     {32, 0x20},
                 {45, 0xFF63}, {46, 0xFFFF}, {144, 0xFF7F}, {145, 0xFF14}};

/// A connection, for the child process that uses it.
class Keyboard
{
public:
    bool Open()
    {
        if (!library_.Load()) return false;
        library_.XSetErrorHandler([](void*, void*) { return 0; });
        library_.XSetIOErrorHandler([](void*) -> int { ::_exit(1); });
        display_ = library_.XOpenDisplay(nullptr);
        return display_ != nullptr;
    }

    std::int16_t StateOf(std::int16_t key)
    {
        std::int16_t state = 0;
        for (const auto& named : namedKeys)
            if (named.key == key) state |= StateOfSymbol(named.symbol);
        const bool isDigit = key >= '0' && key <= '9', isLetter = key >= 'A' && key <= 'Z';
        if (isDigit || isLetter) state |= StateOfSymbol(static_cast<KeySym>(isLetter ? key - 'A' + 'a' : key));
        return state;
    }

    void Type(TextView text)
    {
        int number;
        if (!library_.XTestFakeKeyEvent || !library_.XTestQueryExtension(display_, &number, &number, &number, &number))
            return;
        library_.XkbGetState(display_, x11::coreKeyboard, &state_);
        const std::array<char, 32> held = Held();
        std::vector<KeyCode> shifts;
        for (const KeySym shift : {leftShift, rightShift})
            if (const KeyCode code = CodeOf(shift); code != 0 && IsIn(held, code)) shifts.push_back(code);
        // A Shift that the user holds would change what is typed.
        for (const KeyCode code : shifts) Send(code, false);
        for (const char16_t c : text) TypeCharacter(c);
        for (const KeyCode code : shifts) Send(code, true);
        library_.XFlush(display_);
        library_.XCloseDisplay(display_);
    }

private:
    struct KeyPlace
    {
        KeyCode code;
        bool isShifted;
    };

    KeyCode CodeOf(KeySym symbol) { return library_.XKeysymToKeycode(display_, symbol); }
    void Send(KeyCode code, bool isPress) { library_.XTestFakeKeyEvent(display_, code, isPress, 0); }

    std::array<char, 32> Held()
    {
        std::array<char, 32> held{};
        library_.XQueryKeymap(display_, held.data());
        return held;
    }

    static bool IsIn(const std::array<char, 32>& held, KeyCode code) { return (held[code / 8] >> (code % 8) & 1) != 0; }

    std::int16_t StateOfSymbol(KeySym symbol)
    {
        const KeyCode code = CodeOf(symbol);
        if (code == 0) return 0;
        const bool isHeld = IsIn(Held(), code), isOn = (ModifiersOf(code) & LockedModifiers()) != 0;
        return static_cast<std::int16_t>((isHeld ? 0x8000 : 0) | (isOn ? 1 : 0));
    }

    unsigned LockedModifiers()
    {
        library_.XkbGetState(display_, x11::coreKeyboard, &state_);
        return state_.lockedModifiers;
    }

    unsigned ModifiersOf(KeyCode code)
    {
        unsigned modifiers = 0;
        x11::ModifierMap* const map = library_.XGetModifierMapping(display_);
        if (!map) return 0;
        for (int i = 0; i < 8 * map->keysEach; ++i)
            if (map->keys[i] == code) modifiers |= 1u << (i / map->keysEach);
        library_.XFreeModifiermap(map);
        return modifiers;
    }

    void TypeCharacter(char16_t c)
    {
        const auto place = PlaceOf(c);
        if (!place) return;
        const KeyCode shift = place->isShifted ? CodeOf(leftShift) : KeyCode{0};
        if (shift != 0) Send(shift, true);
        Send(place->code, true);
        Send(place->code, false);
        if (shift != 0) Send(shift, false);
    }

    /// The key that gives a character in the active layout.
    std::optional<KeyPlace> PlaceOf(char16_t c)
    {
        KeySym symbol = c;
        if (c == u'\r' || c == u'\n') symbol = enter;
        if (c == u'\t') symbol = tab;
        if (c < 0x20 && symbol == c) return std::nullopt;
        if (c > 0xFF && c != u'€') symbol = 0x01000000u | c;  // the euro alone has kept a symbol of its own here
        const bool isLetter = UpperCase(c) != LowerCase(c);
        const bool capsInvert = isLetter && (state_.modifiers & x11::lockModifier) != 0;
        int first = 0, last = 0;
        library_.XDisplayKeycodes(display_, &first, &last);
        for (int level = 0; level < 2; ++level)
            for (int code = first; code <= last; ++code)
                if (SymbolOf(static_cast<KeyCode>(code), level) == symbol)
                    return KeyPlace{static_cast<KeyCode>(code), (level == 1) != capsInvert};
        return std::nullopt;
    }

    KeySym SymbolOf(KeyCode code, int level)
    {
        // A key that does not change with the layout has one group only.
        const bool hasGroup = library_.XkbKeycodeToKeysym(display_, code, state_.group, 0) != x11::noSymbol;
        return library_.XkbKeycodeToKeysym(display_, code, hasGroup ? state_.group : 0, level);
    }

    x11::Library library_{};
    void* display_ = nullptr;
    x11::KeyboardState state_{};
};

/// No value without a desktop.
template <class Work>
std::optional<std::int16_t> InChild(const Work& work)
{
    return ResultOfChild([&work]() -> std::optional<std::int16_t> {
        Keyboard keyboard;
        if (!keyboard.Open()) return std::nullopt;
        return work(keyboard);
    });
}

}  // namespace

std::int16_t X11KeyState(std::int16_t key)
{
    return InChild([key](Keyboard& keyboard) { return keyboard.StateOf(key); }).value_or(std::int16_t{0});
}

void X11TypeText(TextView text)
{
    InChild([text](Keyboard& keyboard) {
        keyboard.Type(text);
        return std::int16_t{0};
    });
}

}  // namespace vmlib::posix
