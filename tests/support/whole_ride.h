#pragma once

#include <string>

// Everything that a host ever asks of the library, one after the other, with `shortcut` selected:
// factory, object, selection, menu, verb and help, the command, registration and its removal. Every
// result has to be one that the library may give and nothing may stay behind, whatever fails
// meanwhile.
void TakeWholeRide(const std::wstring& shortcut);
