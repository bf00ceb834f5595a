// A script's result as one line, from the parser and from a plain model of its rules. They must be equal.
//
// <an unquoted value>, "a quoted value", [the items of a list]; a list's whole text, where asked for, comes before its
// items: [text:items].
#pragma once

#include <string>

#include "parvel/parvel.h"
#include "platform/text.h"

/// Opens every item of every level.
std::string ScriptNotation(IScriptResultParser* parser, bool withListTexts);

/// The rules once more, string by string, as slow and plain as they are told; with the lists' texts.
std::string ScriptModelNotation(Text text);
