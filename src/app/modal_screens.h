// The installer's modal screens: the alert, the changed-file question, the
// scan panel, the agreement and the preferences. Each runs its own loop and
// pumps the frame itself. The console road keeps the core's own answers.
#pragma once

// Fills the core's seams (person_hooks, alert_hooks) with the window's
// screens. Call once the window and drawing are up.
void APP_install_modal_screens();
