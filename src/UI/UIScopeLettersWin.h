// The letters of the scopes, drawn by the window system into surfaces.
#pragma once

#include "src/ScopeDraw.h"

/// The operations for ScopeContext::letters: sizes are pixels of the surface, coverage is blended over what is there.
/// Coverage of recent texts and which families there are is kept, so that a redraw costs little; a change of the font
/// database forgets both.   Thread: main, while the application object lives.
const ScopeLetters* UIScopeLetters();

/// Drops what is kept; to be called before the application object goes. For tests too.
void UIForgetScopeLetters();
