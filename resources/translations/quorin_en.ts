<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="status.ready">
        <source></source>
        <translation>Ready</translation>
    </message>
    <message id="back_button_title">
        <source></source>
        <translation>Back</translation>
    </message>
    <message id="audio.verifying">
        <source></source>
        <translation>Checking your audio…</translation>
    </message>
    <message id="audio.guard.title">
        <source></source>
        <translation>Send your sound through Quorin Audio</translation>
    </message>
    <message id="audio.guard.text.both">
        <source></source>
        <translation>Choose “Quorin Audio” as output and as input in the sound settings, and you can start streaming.</translation>
    </message>
    <message id="audio.guard.text.out">
        <source></source>
        <translation>The input is ready. Now choose “Quorin Audio” as output too in the sound settings.</translation>
    </message>
    <message id="audio.guard.text.in">
        <source></source>
        <translation>The output is ready. Now choose “Quorin Audio” as input too in the sound settings.</translation>
    </message>
    <message id="audio.guard.button">
        <source></source>
        <translation>Open Sound Settings</translation>
    </message>
    <message id="audio.guard.status.out.ok">
        <source></source>
        <translation>Output ready</translation>
    </message>
    <message id="audio.guard.status.out.missing">
        <source></source>
        <translation>Output to change</translation>
    </message>
    <message id="audio.guard.status.in.ok">
        <source></source>
        <translation>Input ready</translation>
    </message>
    <message id="audio.guard.status.in.missing">
        <source></source>
        <translation>Input to change</translation>
    </message>
    <message id="mic.overlay.text">
        <source></source>
        <translation>Quorin Stream may not record sound yet. Allow the microphone in the privacy settings, and this screen closes by itself.</translation>
    </message>
    <message id="mic.overlay.button">
        <source></source>
        <translation>Open Privacy Settings</translation>
    </message>
    <message id="menu.header">
        <source></source>
        <translation>How do you want to stream audio?</translation>
    </message>
    <message id="cards.online.title">
        <source></source>
        <translation>Wi‑Fi Streaming</translation>
    </message>
    <message id="cards.online.note">
        <source></source>
        <translation>Same 5 GHz Wi‑Fi network</translation>
    </message>
    <message id="cards.offline.title">
        <source></source>
        <translation>USB Cable</translation>
    </message>
    <message id="cards.offline.note">
        <source></source>
        <translation>Use your iPhone charging cable (USB‑C or Lightning)</translation>
    </message>
    <message id="footer.privacy">
        <source></source>
        <translation>Privacy &amp; Terms</translation>
    </message>
    <message id="footer.copyright">
        <source></source>
        <translation>© The Quorin Stream authors</translation>
    </message>
    <message id="alert.privacy.title">
        <source></source>
        <translation>Privacy &amp; Terms</translation>
    </message>
    <message id="alert.privacy.info">
        <source></source>
        <translation>Your sound goes straight from this computer to the iPhones you connect, over your own network or cable. Nothing passes through a server, and Quorin Stream records, stores and reports nothing.

Anyone on your network can connect and listen, so use a network you trust, and stream only what you may share. The program comes without any warranty.</translation>
    </message>
    <message id="common.ok">
        <source></source>
        <translation>OK</translation>
    </message>
    <message id="alert.stop.title">
        <source></source>
        <translation>Stop streaming?</translation>
    </message>
    <message id="alert.stop.info">
        <source></source>
        <translation>Someone is listening right now. Going back to the menu ends the stream for every connected device.</translation>
    </message>
    <message id="alert.stop.confirm">
        <source></source>
        <translation>Stop</translation>
    </message>
    <message id="common.cancel">
        <source></source>
        <translation>Cancel</translation>
    </message>
    <message id="usb_instruction_title">
        <source></source>
        <translation>Connect your iPhone with its cable and open the app</translation>
    </message>
    <message id="waiting_connection">
        <source></source>
        <translation>Waiting for a connection…</translation>
    </message>
    <message id="usb.connected">
        <source></source>
        <translation>iPhone connected</translation>
    </message>
    <message id="cable.service.missing">
        <source></source>
        <translation>The USB service (usbmuxd) is not installed. Install it with:</translation>
    </message>
    <message id="cable.service.stopped">
        <source></source>
        <translation>The USB service is not running. It starts when you connect the iPhone; if it does not, start it with:</translation>
    </message>
    <message id="cable.phone.none">
        <source></source>
        <translation>No iPhone found. Use a cable that carries data, unlock the iPhone and tap “Trust”.</translation>
    </message>
    <message id="cable.phone.locked">
        <source></source>
        <translation>Unlock the iPhone and tap “Trust”.</translation>
    </message>
    <message id="cable.app.closed">
        <source></source>
        <translation>Open the app on the iPhone.</translation>
    </message>
    <message id="cable.app.silent">
        <source></source>
        <translation>The app does not answer: wake it up</translation>
    </message>
    <message id="pairing_instructions">
        <source></source>
        <translation>Scan the code with the iPhone app</translation>
    </message>
    <message id="status.connected.one">
        <source></source>
        <translation>1 device connected</translation>
    </message>
    <message id="status.connected.many" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%n device connected</numerusform>
            <numerusform>%n devices connected</numerusform>
        </translation>
    </message>
    <message id="network.unavailable">
        <source></source>
        <translation>No network. Connect this computer to your Wi‑Fi.</translation>
    </message>
    <message id="network.available">
        <source></source>
        <translation>Network available</translation>
    </message>
    <message id="network.change_detected">
        <source></source>
        <translation>Network changed</translation>
    </message>
    <message id="network.generating_qr_in_seconds" numerus="yes">
        <source></source>
        <translation>
            <numerusform>New QR code in %n second</numerusform>
            <numerusform>New QR code in %n seconds</numerusform>
        </translation>
    </message>
    <message id="udp.port.invalid">
        <source></source>
        <translation>That port cannot be used. Enter a number from 1 to 65535.</translation>
    </message>
    <message id="udp.socket.create_failed">
        <source></source>
        <translation>No network. Close other programs, then come back.</translation>
    </message>
    <message id="udp.port.bind_failed">
        <source></source>
        <translation>Port in use. Close the other program and come back.</translation>
    </message>
    <message id="qr.input.invalid">
        <source></source>
        <translation>The QR code needs an address and a port. Check your network connection.</translation>
    </message>
    <message id="qr.generate.failed">
        <source></source>
        <translation>The QR code could not be drawn. Go back to the menu and try again.</translation>
    </message>
    <message id="alert.settings.title">
        <source></source>
        <translation>The settings could not be opened</translation>
    </message>
    <message id="alert.settings.sound">
        <source></source>
        <translation>Open your desktop's sound settings and choose Quorin Audio as output and as input. If the device is missing, create it with: quorin-device add --default</translation>
    </message>
    <message id="alert.settings.microphone">
        <source></source>
        <translation>Open your desktop's privacy settings and let Quorin Stream use the microphone.</translation>
    </message>
    <message id="status.silent">
        <source></source>
        <translation>No sound is playing on this computer</translation>
    </message>
</context>
</TS>
