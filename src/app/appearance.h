#pragma once

// The look of the whole application. Start-up applies the skin alone: there is neither a
// translation nor a start picture among the resources yet, for which the other two functions are
// kept.

// Applies the built-in skin; the default look remains when there is none.
void loadStyleSheet();

// Installs the first built-in translation that suits the user's languages.
void loadTranslation();

// Shows the start picture until the function returns.
void showSplash();
