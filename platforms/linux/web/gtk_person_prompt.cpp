#include "korvane/linux/gtk_person_prompt.h"

#include <gtk/gtk.h>

#include <memory>

#include "korvane/linux/webkit_web_view.h"

namespace korvane::linux_host {
namespace {

using Answer = std::function<void(bool yes)>;

// Runs the answer once: on the person's response, or as no when the dialog goes without one.
void answerOnce(Answer& answer, bool yes) {
  Answer pending = std::move(answer);
  answer = nullptr;
  if (pending) pending(yes);
}

void onResponse(GtkDialog* dialog, gint response, gpointer data) {
  answerOnce(*static_cast<Answer*>(data), response == GTK_RESPONSE_ACCEPT);
  gtk_widget_destroy(GTK_WIDGET(dialog));
}

void onGone(gpointer data, GClosure*) {
  std::unique_ptr<Answer> answer(static_cast<Answer*>(data));
  answerOnce(*answer, false);
}

}  // namespace

void GtkPersonPrompt::ask(WebView& over, const PersonQuestion& question,
                          std::function<void(bool yes)> answer) {
  auto* port = dynamic_cast<WebKitWebViewPort*>(&over);
  GtkWidget* window = port ? gtk_widget_get_toplevel(port->widget()) : nullptr;
  if (!window || !GTK_IS_WINDOW(window) || !gtk_widget_is_toplevel(window)) {
    if (answer) answer(false);
    return;
  }
  GtkWidget* dialog = gtk_message_dialog_new(
      GTK_WINDOW(window), GtkDialogFlags(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT),
      GTK_MESSAGE_QUESTION, GTK_BUTTONS_NONE, "%s", question.title.c_str());
  gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dialog), "%s",
                                           question.message.c_str());
  gtk_dialog_add_buttons(GTK_DIALOG(dialog), question.cancel.c_str(), GTK_RESPONSE_CANCEL,
                         question.confirm.c_str(), GTK_RESPONSE_ACCEPT, nullptr);
  gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_CANCEL);
  // The answer goes with the dialog: destroyed with its window, it is answered no.
  g_signal_connect_data(dialog, "response", G_CALLBACK(onResponse),
                        std::make_unique<Answer>(std::move(answer)).release(), onGone,
                        GConnectFlags(0));
  gtk_widget_show_all(dialog);
}

}  // namespace korvane::linux_host
