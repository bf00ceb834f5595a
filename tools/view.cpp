#include "view.h"

#include <string>

void AddViewOptions(CLI::App& verb, TreeView& view, const char* whatIsLevel1) {
    verb.add_option("--depth", view.mostLevels, std::string("Show this many levels; ") + whatIsLevel1 + " is level 1")
        ->check([](const std::string& text) {
            const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos;
            const bool isPositive = text.find_first_not_of('0') != std::string::npos;
            return isNumber && isPositive ? std::string() : "must be a number, 1 or more";
        })
        ->type_name("N")
        ->default_str("");
    verb.add_flag_callback(
        "--full", [&view] { view.mostCharacters = std::numeric_limits<std::size_t>::max(); },
        "Show texts whole that are longer than " + std::to_string(TreeView::kUsualCharacters) + " characters");
}
