// A console on an emulated device without its terminal: which view one is in, what a line does, how it is completed.
//
// A line that starts with a colon is for the console itself, so that no word of it can be mistaken for a command of the
// device. Any other is executed on the device, in the present view. A line that makes an object with a view of its own
// enters that view, whether or not the object has been there.
#pragma once

#include <string>
#include <string_view>

#include "cli/console_completion.h"
#include "platform/emulator.h"

namespace qnips::cli
{

// What a line comes to.
struct ConsoleAnswer {
    enum class Kind { done, refused, end } kind = Kind::done;
    std::string text = {}; // what was asked for, or why the line is refused; without a line end

    bool operator==(const ConsoleAnswer&) const = default;
};

class ConsoleSession
{
public:
    // Starts in the view of the device itself. The device has to outlive the session.
    explicit ConsoleSession(EmulatedPlatform& device) : device_(device) {}

    // A refused line changes neither the device nor the view. Blank lines and those that start with # do nothing.
    ConsoleAnswer enter(std::string_view line);

    // Where one is: [vsys branch, profile webguard].
    [[nodiscard]] std::string prompt();

    // `line` is what stands before the cursor.
    [[nodiscard]] Completion complete(std::string_view line);

private:
    struct Word;
    static const std::vector<Word>& words();

    ConsoleAnswer execute(std::string_view line);
    ConsoleAnswer enter_word(std::string_view line);

    ConsoleAnswer go_to_vsys(const Captures& parts);
    ConsoleAnswer go_to_management(const Captures& parts);
    ConsoleAnswer go_to_view(const Captures& parts);
    ConsoleAnswer go_up(const Captures& parts);
    ConsoleAnswer go_to_device(const Captures& parts);
    ConsoleAnswer show(const Captures& parts);
    ConsoleAnswer state(const Captures& parts);
    ConsoleAnswer remove_vsys(const Captures& parts);
    ConsoleAnswer help(const Captures& parts);
    ConsoleAnswer quit(const Captures& parts);

    void leave_what_has_gone();

    EmulatedPlatform& device_;
    Place place_{CommandView::device, {}};
};

} // namespace qnips::cli
