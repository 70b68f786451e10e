// The demo as a person uses it: a small host app window whose buttons call the SDK, with the
// offerwall in windows of its own.
#include <gtk/gtk.h>

#include "demo_session.h"

namespace korvane::demo {
namespace {

struct Action {
  const char* label;
  void (*run)(DemoSession&);
};

const Action kActions[] = {
    {"🎁 오퍼월 열기",
     [](DemoSession& s) {
       KorvaneSdk::shared().openOfferwall(nullptr, "demo-home", s.offerwallCallback(),
                                          s.eventCallback());
     }},
    {"❓ 퀴즈 풀기", [](DemoSession& s) { s.quiz()->clickQuiz("quiz-1", nullptr); }},
    {"🎯 미션 2 열기", [](DemoSession& s) { s.missions()->clickMission("mission-2", nullptr); }},
    {"🏆 미션 보상", [](DemoSession& s) { s.missions()->onRewardButtonClicked(nullptr); }},
    {"🎮 adjoe 플레이타임",
     [](DemoSession& s) {
       KorvaneSdk::shared().openAdjoeOfferwall(nullptr, "demo-adjoe", s.offerwallCallback());
     }},
    {"📨 이벤트 보내기", [](DemoSession&) { KorvaneSdk::shared().flushEvents(); }},
};

}  // namespace

void runInteractive(DemoSession& session) {
  session.missions()->load(nullptr, nullptr, true);
  session.quiz()->load(nullptr, nullptr, true);
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), "Korvane demo host app");
  gtk_window_set_default_size(GTK_WINDOW(window), 320, 420);
  GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
  gtk_container_set_border_width(GTK_CONTAINER(column), 16);
  GtkWidget* title = gtk_label_new(nullptr);
  gtk_label_set_markup(GTK_LABEL(title),
                       "<b>KorvaneSDK demo</b>\nlogged in as demo-user\nclose this window to quit");
  gtk_box_pack_start(GTK_BOX(column), title, FALSE, FALSE, 8);
  for (const Action& action : kActions) {
    GtkWidget* button = gtk_button_new_with_label(action.label);
    g_object_set_data(G_OBJECT(button), "action", const_cast<Action*>(&action));
    g_signal_connect(button, "clicked", G_CALLBACK(+[](GtkButton* b, gpointer data) {
                       auto* chosen =
                           static_cast<Action*>(g_object_get_data(G_OBJECT(b), "action"));
                       chosen->run(*static_cast<DemoSession*>(data));
                     }),
                     &session);
    gtk_box_pack_start(GTK_BOX(column), button, FALSE, FALSE, 0);
  }
  gtk_container_add(GTK_CONTAINER(window), column);
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
  // Telemetry is printed as the backend receives it.
  g_timeout_add(
      250,
      +[](gpointer data) -> gboolean {
        static_cast<DemoSession*>(data)->reportTelemetry();
        return G_SOURCE_CONTINUE;
      },
      &session);
  gtk_widget_show_all(window);
  session.say("\n▶ The host app window is open: click through the offerwall; close it to quit.");
  KorvaneSdk::shared().openOfferwall(nullptr, "demo-home", session.offerwallCallback(),
                                     session.eventCallback());
  gtk_main();
}

}  // namespace korvane::demo
