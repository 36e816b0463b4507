#pragma once

// The look of the whole application. Start-up applies the skin; the other two stand ready.

// Applies the built-in skin; the default look remains when there is none.
void loadStyleSheet();

// Installs the first built-in translation that suits the user's languages.
void loadTranslation();

// Shows the start picture until the function returns.
void showSplash();
