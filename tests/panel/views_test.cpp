#include "panel/content_view.h"
#include "panel/panel_fixture.h"
#include "panel/rows.h"
#include "support/code_photo.h"

#include <gmock/gmock.h>

#include <QTest>
#include <optional>
#include <string>
#include <vector>

namespace quorin::panel {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// The panel on the offscreen platform, 560 x 860.
class PanelViewsTest : public PanelServerTest {
 protected:
  PanelViewsTest() {
    panel_.resize(panel_.sizeHint());
    panel_.show();
    settle();
  }

  void settle() {
    scheduler_.runPending();
    QApplication::processEvents();
  }
  void clickButton() {
    QTest::mouseClick(button(), Qt::LeftButton);
    settle();
  }
  app::PushButton* button() { return panel_.findChild<app::PushButton*>(); }
  /// What a screen reader says of the visible widgets of a kind, from top to bottom.
  template <typename Widget>
  std::vector<std::string> said() {
    std::vector<std::string> names;
    for (auto* child : panel_.findChildren<QWidget*>()) {
      if (dynamic_cast<Widget*>(child) != nullptr && child->isVisible()) {
        names.push_back(child->accessibleName().toStdString());
      }
    }
    return names;
  }
  std::vector<std::string> texts() {
    std::vector<std::string> result;
    for (const auto* label : panel_.findChildren<QLabel*>()) {
      if (label->isVisible()) result.push_back(label->text().toStdString());
    }
    return result;
  }

  ContentView panel_{std::move(server_), "Scan the code"};
};

TEST_F(PanelViewsTest, FollowsItsServerFromStopToStop) {
  EXPECT_EQ(button()->accessibleName(), "Iniciar Servidor");
  EXPECT_THAT(texts(), ::testing::IsSupersetOf({"Detenido", "Servidor detenido"}));
  const auto portText = std::to_string(port_);
  std::optional holder = network::DatagramSocket::open().value();
  EXPECT_FALSE(holder->bind(port_));
  clickButton();
  EXPECT_THAT(texts(), Contains(HasSubstr("El puerto " + portText + " está ocupado")));
  EXPECT_THAT(console_,
              Contains("❌ Error iniciando servidor: UDPSocket (-2): No se pudo hacer bind "
                       "(Address already in use)"));
  holder.reset();

  clickButton();
  EXPECT_EQ(button()->accessibleName(), "Detener Servidor");
  EXPECT_THAT(texts(), ::testing::IsSupersetOf({"Activo", "Scan the code"}));
  EXPECT_THAT(texts(), Not(Contains(::testing::AnyOf("Servidor detenido", HasSubstr("ocupado")))));
  EXPECT_THAT(test::codesOn(panel_), ElementsAre("192.168.1.20:" + portText));

  const std::string code = "📱 Código QR para Conectar";
  Phone phone(port_);
  says(phone, "<<HELLO>>");
  settle();
  EXPECT_THAT(said<TitledBox>(), Not(Contains(code))) << "its place is the clients'";
  says(phone, "<<STOP>>");
  settle();
  EXPECT_THAT(said<TitledBox>(), Contains(code));

  clickButton();
  EXPECT_EQ(button()->accessibleName(), "Iniciar Servidor");
  EXPECT_THAT(texts(), Contains("Servidor detenido"));
}

TEST_F(PanelViewsTest, ListsAHundredClientsAndCountsTheOthers) {
  clickButton();
  Phone phones[] = {Phone(port_), Phone(port_)};
  for (auto& phone : phones) says(phone, "<<HELLO>>");
  deliver(250);
  scheduler_.advance(5s);
  settle();
  EXPECT_THAT(said<ClientRow>(),
              testing::UnorderedElementsAre(phones[0].key().text(), phones[1].key().text()));
  EXPECT_THAT(said<ValueRow>(),
              ::testing::IsSupersetOf({"IP Local 192.168.1.20", "Clientes 2",
                                       "Paquetes/seg 50.0 pkt/s", "Velocidad 1378.1 Kbps"}));
  deliver(100);
  scheduler_.advance(5s);
  settle();
  EXPECT_THAT(said<ValueRow>(), Contains("Paquetes/seg 20.0 pkt/s")) << "each period on its own";
  for (unsigned number = 1; number <= 2000; ++number) {
    client(number).says("<<HELLO>>");
    if (number % 100 == 0) settle();
  }
  EXPECT_EQ(said<ClientRow>().size(), 100U);
  EXPECT_THAT(texts(), Contains("… y 1902 más"));
}

}  // namespace
}  // namespace quorin::panel
