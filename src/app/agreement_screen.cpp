// The agreement (window 1) and the preferences (window 2): each a small loop
// of its own that pumps the frames until the screen is left.
#include "app/interface.h"
#include "app/modal_screens.h"
#include "app/stage_work.h"
#include "files/mnw.h"
#include "files/number_text.h"
#include "install/stage.h"
#include "net/http.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "toolkit/controls.h"
#include "toolkit/draw.h"
#include "toolkit/entry.h"
#include "toolkit/frames.h"

namespace {

// Kept for the rest of the run and never stored: one agreement per run.
int agreed = 0;

// Five choices written with "-" between them, 1 Macintosh to 5 Linux Athlon XP.
const char* const kSystems =
    "Macintosh-Windows-Linux Generic x86-Linux Pentium 3-Linux Athlon XP";

// The list control parts its items at blanks and shows a "-" as a blank, so
// the two trade places on the way in.
std::string list_items(const char* choices) {
  std::string s = choices;
  for (char& c : s) c = c == '-' ? ' ' : c == ' ' ? '-' : c;
  return s;
}

}  // namespace

void handle_EULA_forget() { agreed = 0; }

int handle_EULA() {
  if (agreed) return 1;
  MACIBM_startwind(1);
  while (mnw.win_now == 1) {
    modal_texts_shown.clear();
    OGL_plot_back_col();
    BTN_fillwin(1, 21);
    float nx, ny;
    BTN_subwin(0, 16, -1, 50, -1, -1, "", &nx, &ny);
    const float ys[4] = {250, 230, 210, 180};
    for (int i = 0; i < 4; ++i) modal_text(45, 20, ys[i], kAgreementTexts[i], 400);
    // The close corner leaves without an answer, which counts as not agreed.
    if (interface_rect(300, 10, 832, 166, 85, 22, 1, 1)) {
      agreed = 0;
      MACIBM_startwind(0);
    } else if (interface_rect(400, 10, 918, 166, 59, 22, 1, 1)) {
      agreed = 1;
      MACIBM_startwind(0);
    }
    MACIBM_event_proc();
  }
  return agreed;
}

void handle_prefs() {
  MACIBM_startwind(2);
  while (mnw.win_now == 2) {
    modal_texts_shown.clear();
    OGL_plot_back_col();
    BTN_fillwin(1, 21);
    float nx, ny, nx2, ny2;
    BTN_subwin(0, 13, -1, -1, -1, 70, "Proxy (if you are behind a firewall with a Proxy)", &nx, &ny);
    BTN_subwin(0, 13, -1, ny, -1, -1, "General Preferences", &nx2, &ny2);

    int stream_on = stg.stream_count != 0;
    // The field counts the systems from 1, the list from 0.
    stg.download_os -= 1;
    BTN_textlist(200, 310, &stg.download_os, list_items(kSystems),
                 "Operating System to download Zephyra for:|(Install and copy the entire Zephyra "
                 "folder to another computer if you like)");
    stg.download_os += 1;

    BTN_bool(30, 265, &stg.use_max_cpu,
             "|run at full speed all the time, always totally saturating the CPU... typically "
             "leave this OFF, since the installer does not need that much CPU to download stuff!",
             0);
    BTN_bool(30, 230, &stg.rename_folder,
             "|re-name the Cirrovan folder to the latest version number when done with the "
             "update... typically leave this ON, so the installer can indicate the proper version "
             "number!",
             0);
    BTN_bool(30, 190, &stg.always_ask_dir,
             "|always ask you to pick your Cirrovan folder on startup... typically leave this OFF, "
             "since the installer will remember your current Zephyra folder after the first use.",
             0);
    BTN_bool(30, 150, &stream_on,
             "|manually set the number of download streams... typically leave this OFF, and the "
             "installer will find the best number of streams for you.",
             0);
    BTN_bool(30, 110, &stg.log_actions,
             "|log installer actions... turn this on to output the installer file downloads and "
             "stuff to the file log.txt.",
             0);
    // Ticking the box shows the count, which its range lifts from 0 to 1.
    if (stream_on)
      BTN_int_range(400, 150, &stg.stream_count, 1, 1, 4, "");
    else
      stg.stream_count = 0;

    BTN_enterstring(85, 40, &http._proxy_host, 65, 0, "-proxy host");
    BTN_enterstring(85, 20, &http._proxy_port, 65, 1, "-proxy port");
    if (!http._proxy_port.empty()) http._proxy_port_int = str_to_int(http._proxy_port);
    MACIBM_event_proc();
  }
}
