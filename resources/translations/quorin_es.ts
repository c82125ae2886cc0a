<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es">
<context>
    <name></name>
    <message id="status.ready">
        <source></source>
        <translation>Listo</translation>
    </message>
    <message id="back_button_title">
        <source></source>
        <translation>Volver</translation>
    </message>
    <message id="audio.verifying">
        <source></source>
        <translation>Comprobando el audio…</translation>
    </message>
    <message id="audio.guard.title">
        <source></source>
        <translation>Envía tu sonido por Quorin Audio</translation>
    </message>
    <message id="audio.guard.text.both">
        <source></source>
        <translation>Quorin Stream envía lo que pasa por «Quorin Audio». Tiene que ser la salida y la entrada: prepáralo con un clic o elígelo en los ajustes de sonido.</translation>
    </message>
    <message id="audio.guard.text.out">
        <source></source>
        <translation>Quorin Stream envía lo que pasa por «Quorin Audio». También tiene que ser la salida: prepáralo con un clic o elígelo en los ajustes de sonido.</translation>
    </message>
    <message id="audio.guard.text.in">
        <source></source>
        <translation>Quorin Stream envía lo que pasa por «Quorin Audio». También tiene que ser la entrada: prepáralo con un clic o elígelo en los ajustes de sonido.</translation>
    </message>
    <message id="audio.guard.text.no_server">
        <source></source>
        <translation>No hay ningún servidor de sonido en marcha en este ordenador. Inicia PulseAudio o PipeWire (con pipewire-pulse), o cierra la sesión y vuelve a entrar; Quorin Stream seguirá por sí mismo.</translation>
    </message>
    <message id="audio.guard.button">
        <source></source>
        <translation>Ajustes de sonido</translation>
    </message>
    <message id="audio.guard.setup">
        <source></source>
        <translation>Prepáralo por mí</translation>
    </message>
    <message id="audio.guard.setup.working">
        <source></source>
        <translation>Preparando…</translation>
    </message>
    <message id="audio.guard.setup.note">
        <source></source>
        <translation>Los altavoces callan mientras Quorin Stream está abierto; vuelven a sonar al salir.</translation>
    </message>
    <message id="audio.guard.setup.no_server">
        <source></source>
        <translation>Ningún servidor de sonido ha respondido. Inícialo, o cierra la sesión y vuelve a entrar; después pulsa otra vez.</translation>
    </message>
    <message id="audio.guard.setup.refused">
        <source></source>
        <translation>El servidor de sonido no permite a este programa crear un dispositivo: lo impide un entorno aislado o su propia configuración. Ejecuta «quorin-device add --default» en un terminal o elige el dispositivo en los ajustes de sonido.</translation>
    </message>
    <message id="audio.guard.setup.missing">
        <source></source>
        <translation>Falta el programa quorin-device. Instala de nuevo Quorin Stream y vuelve a hacer clic.</translation>
    </message>
    <message id="audio.guard.setup.failed">
        <source></source>
        <translation>El servidor de sonido no ha preparado el dispositivo. Vuelve a hacer clic; si no sirve, cierra la sesión y vuelve a entrar.</translation>
    </message>
    <message id="audio.guard.status.out.ok">
        <source></source>
        <translation>Salida lista</translation>
    </message>
    <message id="audio.guard.status.out.missing">
        <source></source>
        <translation>Salida por cambiar</translation>
    </message>
    <message id="audio.guard.status.in.ok">
        <source></source>
        <translation>Entrada lista</translation>
    </message>
    <message id="audio.guard.status.in.missing">
        <source></source>
        <translation>Entrada por cambiar</translation>
    </message>
    <message id="mic.overlay.text">
        <source></source>
        <translation>Quorin Stream aún no puede captar el sonido. Permite el micrófono en los ajustes de privacidad y esta pantalla se cerrará sola.</translation>
    </message>
    <message id="mic.overlay.button">
        <source></source>
        <translation>Ajustes de privacidad</translation>
    </message>
    <message id="menu.header">
        <source></source>
        <translation>¿Cómo quieres transmitir audio?</translation>
    </message>
    <message id="cards.online.title">
        <source></source>
        <translation>Streaming por Wi‑Fi</translation>
    </message>
    <message id="cards.online.note">
        <source></source>
        <translation>Misma red Wi‑Fi de 5 GHz</translation>
    </message>
    <message id="cards.offline.title">
        <source></source>
        <translation>Cable USB</translation>
    </message>
    <message id="cards.offline.note">
        <source></source>
        <translation>Usa el cable de carga de tu iPhone (USB‑C o Lightning)</translation>
    </message>
    <message id="footer.privacy">
        <source></source>
        <translation>Privacidad y Términos</translation>
    </message>
    <message id="footer.copyright">
        <source></source>
        <translation>© Los autores de Quorin Stream</translation>
    </message>
    <message id="alert.privacy.title">
        <source></source>
        <translation>Privacidad y Términos</translation>
    </message>
    <message id="alert.privacy.info">
        <source></source>
        <translation>Tu sonido va directamente de este ordenador a los iPhone que conectes, por tu propia red o por el cable. Nada pasa por un servidor, y Quorin Stream no graba, guarda ni envía ningún otro dato. Por Wi‑Fi el sonido va sin cifrar y cualquiera que esté en tu red puede conectarse y escuchar: usa una red de confianza y transmite solo lo que puedas compartir.

El programa se ofrece sin ninguna garantía.</translation>
    </message>
    <message id="common.ok">
        <source></source>
        <translation>Aceptar</translation>
    </message>
    <message id="alert.stop.title">
        <source></source>
        <translation>¿Detener la transmisión?</translation>
    </message>
    <message id="alert.stop.info">
        <source></source>
        <translation>Alguien está escuchando ahora mismo. Si la detienes, la transmisión terminará en todos los teléfonos conectados.</translation>
    </message>
    <message id="alert.stop.confirm">
        <source></source>
        <translation>Detener</translation>
    </message>
    <message id="common.cancel">
        <source></source>
        <translation>Cancelar</translation>
    </message>
    <message id="notice.goes_on">
        <source></source>
        <translation>Quorin Stream sigue funcionando</translation>
    </message>
    <message id="notice.joined">
        <source></source>
        <translation>Se ha conectado un teléfono</translation>
    </message>
    <message id="notice.left">
        <source></source>
        <translation>Se ha desconectado un teléfono</translation>
    </message>
    <message id="notice.stopped">
        <source></source>
        <translation>La transmisión se ha detenido</translation>
    </message>
    <message id="notice.stopped.info">
        <source></source>
        <translation>Los dispositivos de sonido no son los correctos; la ventana dice qué falta.</translation>
    </message>
    <message id="notice.stopped.microphone">
        <source></source>
        <translation>El micrófono no está permitido; la ventana dice dónde permitirlo.</translation>
    </message>
    <message id="notice.not_started">
        <source></source>
        <translation>La transmisión no ha podido empezar</translation>
    </message>
    <message id="notice.listeners" numerus="yes">
        <source></source>
        <translation>
            <numerusform>Escucha %n teléfono</numerusform>
            <numerusform>Escuchan %n teléfonos</numerusform>
        </translation>
    </message>
    <message id="notice.awake">
        <source></source>
        <translation>Hay teléfonos escuchando este ordenador</translation>
    </message>
    <message id="tray.idle">
        <source></source>
        <translation>No se envía nada</translation>
    </message>
    <message id="tray.show">
        <source></source>
        <translation>Mostrar</translation>
    </message>
    <message id="tray.stop">
        <source></source>
        <translation>Detener la transmisión</translation>
    </message>
    <message id="tray.quit">
        <source></source>
        <translation>Salir</translation>
    </message>
    <message id="usb_instruction_title">
        <source></source>
        <translation>Conecta tu iPhone con su cable y abre la app</translation>
    </message>
    <message id="waiting_connection">
        <source></source>
        <translation>Esperando conexión…</translation>
    </message>
    <message id="usb.connected">
        <source></source>
        <translation>iPhone conectado</translation>
    </message>
    <message id="cable.service.missing">
        <source></source>
        <translation>El servicio USB (usbmuxd) no está instalado. Instálalo con:</translation>
    </message>
    <message id="cable.service.stopped">
        <source></source>
        <translation>El servicio USB no está en marcha. Arranca al conectar el iPhone con un cable de datos; si no arranca, inícialo con:</translation>
    </message>
    <message id="cable.phone.none">
        <source></source>
        <translation>No se encuentra ningún iPhone. Usa un cable que transmita datos, desbloquea el iPhone y toca «Confiar».</translation>
    </message>
    <message id="cable.phone.locked">
        <source></source>
        <translation>Desbloquea el iPhone y toca «Confiar».</translation>
    </message>
    <message id="cable.app.closed">
        <source></source>
        <translation>Abre la app en el iPhone.</translation>
    </message>
    <message id="cable.app.silent">
        <source></source>
        <translation>La app no responde: despiértala</translation>
    </message>
    <message id="pairing_instructions">
        <source></source>
        <translation>Escanea el código con la app del iPhone</translation>
    </message>
    <message id="status.connected.one">
        <source></source>
        <translation>1 teléfono conectado</translation>
    </message>
    <message id="status.connected.many" numerus="yes">
        <source></source>
        <translation>
            <numerusform>%n teléfono conectado</numerusform>
            <numerusform>%n teléfonos conectados</numerusform>
        </translation>
    </message>
    <message id="network.unavailable">
        <source></source>
        <translation>Sin red. Conecta este ordenador a tu Wi‑Fi.</translation>
    </message>
    <message id="network.available">
        <source></source>
        <translation>Red disponible</translation>
    </message>
    <message id="network.change_detected">
        <source></source>
        <translation>La red ha cambiado</translation>
    </message>
    <message id="network.generating_qr_in_seconds" numerus="yes">
        <source></source>
        <translation>
            <numerusform>Nuevo código QR en %n segundo</numerusform>
            <numerusform>Nuevo código QR en %n segundos</numerusform>
        </translation>
    </message>
    <message id="udp.port.invalid">
        <source></source>
        <translation>Ese puerto no sirve. Escribe un número del 1 al 65535.</translation>
    </message>
    <message id="udp.socket.create_failed">
        <source></source>
        <translation>No se puede usar la red: hay demasiados archivos abiertos. Cierra otros programas.</translation>
    </message>
    <message id="udp.port.bind_failed">
        <source></source>
        <translation>El puerto no está disponible.</translation>
    </message>
    <message id="qr.input.invalid">
        <source></source>
        <translation>El código QR necesita una dirección y un puerto. Comprueba tu conexión de red.</translation>
    </message>
    <message id="qr.generate.failed">
        <source></source>
        <translation>No se ha podido crear el código QR. Vuelve al menú e inténtalo de nuevo.</translation>
    </message>
    <message id="alert.settings.title">
        <source></source>
        <translation>No se pudieron abrir los ajustes</translation>
    </message>
    <message id="alert.settings.sound">
        <source></source>
        <translation>Abre los ajustes de sonido de tu escritorio y elige Quorin Audio como salida y como entrada. Si el dispositivo no aparece, créalo con: quorin-device add --default</translation>
    </message>
    <message id="alert.settings.microphone">
        <source></source>
        <translation>Abre los ajustes de privacidad de tu escritorio y permite que Quorin Stream use el micrófono.</translation>
    </message>
    <message id="status.silent">
        <source></source>
        <translation>No suena nada en este ordenador</translation>
    </message>
    <message id="status.silent.muted">
        <source></source>
        <translation>«Quorin Audio» está silenciado</translation>
    </message>
    <message id="status.silent.elsewhere">
        <source></source>
        <translation>%1 suena en %2</translation>
    </message>
    <message id="status.silent.move">
        <source></source>
        <translation>Moverlo</translation>
    </message>
    <message id="status.silent.unmute">
        <source></source>
        <translation>Activar el sonido</translation>
    </message>
    <message id="play_here">
        <source></source>
        <translation>Oírlo también en este ordenador</translation>
    </message>
    <message id="sound_level">
        <source></source>
        <translation>Nivel de sonido</translation>
    </message>
    <message id="status.full">
        <source></source>
        <translation>Las diez plazas están ocupadas. Otro teléfono no encontró sitio.</translation>
    </message>
    <message id="phone.listening">
        <source></source>
        <translation>%1, conectado desde las %2</translation>
    </message>
    <message id="phone.disconnect">
        <source></source>
        <translation>Desconectar</translation>
    </message>
    <message id="address.name">
        <source></source>
        <translation>Dirección de este ordenador</translation>
    </message>
    <message id="address.copy">
        <source></source>
        <translation>Copiar</translation>
    </message>
    <message id="address.copy_it">
        <source></source>
        <translation>Copiar la dirección %1</translation>
    </message>
    <message id="address.copied">
        <source></source>
        <translation>Copiado</translation>
    </message>
    <message id="address.network">
        <source></source>
        <translation>Red: %1</translation>
    </message>
    <message id="address.network.wifi">
        <source></source>
        <translation>Wi‑Fi (%1)</translation>
    </message>
    <message id="address.network.wired">
        <source></source>
        <translation>Por cable (%1)</translation>
    </message>
    <message id="port.in_use">
        <source></source>
        <translation>El puerto %1 está ocupado</translation>
    </message>
    <message id="port.holder.other_session">
        <source></source>
        <translation>Lo tiene Quorin Stream en otra sesión tuya.</translation>
    </message>
    <message id="port.holder.other_user">
        <source></source>
        <translation>Lo tiene Quorin Stream del usuario %1.</translation>
    </message>
    <message id="port.holder.program">
        <source></source>
        <translation>Lo tiene el programa %1.</translation>
    </message>
    <message id="port.holder.unknown">
        <source></source>
        <translation>Lo tiene otro programa.</translation>
    </message>
    <message id="port.not_permitted">
        <source></source>
        <translation>El puerto %1 está reservado</translation>
    </message>
    <message id="port.not_permitted.advice">
        <source></source>
        <translation>El sistema lo guarda para sus propios servicios. Usa uno superior a 1023.</translation>
    </message>
    <message id="port.tries_again">
        <source></source>
        <translation>Esta página lo intenta de nuevo cada 2 segundos.</translation>
    </message>
    <message id="port.try_again">
        <source></source>
        <translation>Reintentar</translation>
    </message>
    <message id="port.use">
        <source></source>
        <translation>Usar el puerto %1</translation>
    </message>
    <message id="language">
        <source></source>
        <translation>es</translation>
    </message>
    <message id="help.title">
        <source></source>
        <translation>Ayuda</translation>
    </message>
    <message id="help.looking">
        <source></source>
        <translation>Comprobando este ordenador…</translation>
    </message>
    <message id="help.text">
        <source></source>
        <translation>## Lo que necesita el teléfono

1. La app para iPhone: un programa aparte, que se obtiene donde obtuviste este; en otro ordenador, `quorin-listen` ocupa su lugar.
2. La misma red que este ordenador, mejor una Wi‑Fi de 5 GHz; o su cable de carga.
3. Por Wi‑Fi: elige «Streaming por Wi‑Fi» y escanea el código, o escribe la dirección que está debajo.
4. Por cable: desbloquea el iPhone, toca «Confiar» cuando lo pregunte y abre la app.

## Cuando no llega sonido

- El teléfono tiene que llegar al puerto UDP %1 de este ordenador. Si un cortafuegos lo impide: `sudo ufw allow %1/udp` o `sudo firewall-cmd --add-port=%1/udp`. Otro puerto se elige con `quorin-stream --port`.
- En muchas redes de invitados el teléfono no ve el ordenador; usa otra, o el cable.
- El cable necesita el servicio USB: `sudo apt install usbmuxd`.

## Teclas

Esc o Alt+Izquierda: volver. Ctrl+W: cerrar la ventana; la transmisión sigue. Ctrl+Q: salir. F1: esta ayuda.

## Este ordenador</translation>
    </message>
    <!-- What the command line prints: the English sentence is the key. -->
    <message id="sound server">
        <source></source>
        <translation>servidor de sonido</translation>
    </message>
    <message id="none">
        <source></source>
        <translation>ninguno</translation>
    </message>
    <message id="Start PulseAudio or PipeWire (with pipewire-pulse); the program looks for it by itself.">
        <source></source>
        <translation>Inicia PulseAudio o PipeWire (con pipewire-pulse); el programa lo busca por sí mismo.</translation>
    </message>
    <message id="virtual device">
        <source></source>
        <translation>dispositivo virtual</translation>
    </message>
    <message id="output and input">
        <source></source>
        <translation>salida y entrada</translation>
    </message>
    <message id="output only">
        <source></source>
        <translation>solo la salida</translation>
    </message>
    <message id="input only">
        <source></source>
        <translation>solo la entrada</translation>
    </message>
    <message id="Press &quot;Set up for me&quot; (or start with --set-up), which creates it.">
        <source></source>
        <translation>Pulsa «Prepáralo por mí» (o inicia con --set-up), que lo crea.</translation>
    </message>
    <message id="default output">
        <source></source>
        <translation>salida por defecto</translation>
    </message>
    <message id="default input">
        <source></source>
        <translation>entrada por defecto</translation>
    </message>
    <message id="Press &quot;Set up for me&quot; (or start with --set-up), or make &quot;Quorin Audio&quot; the default output in the sound settings.">
        <source></source>
        <translation>Pulsa «Prepáralo por mí» (o inicia con --set-up), o haz de «Quorin Audio» la salida por defecto en los ajustes de sonido.</translation>
    </message>
    <message id="Press &quot;Set up for me&quot; (or start with --set-up), or make &quot;Quorin Audio&quot; the default input in the sound settings.">
        <source></source>
        <translation>Pulsa «Prepáralo por mí» (o inicia con --set-up), o haz de «Quorin Audio» la entrada por defecto en los ajustes de sonido.</translation>
    </message>
    <message id="microphone">
        <source></source>
        <translation>micrófono</translation>
    </message>
    <message id="allowed">
        <source></source>
        <translation>permitido</translation>
    </message>
    <message id="not answered yet">
        <source></source>
        <translation>sin respuesta aún</translation>
    </message>
    <message id="Answer the desktop&#x27;s question, or allow the microphone in its privacy settings.">
        <source></source>
        <translation>Responde a la pregunta del escritorio, o permite el micrófono en sus ajustes de privacidad.</translation>
    </message>
    <message id="not allowed">
        <source></source>
        <translation>no permitido</translation>
    </message>
    <message id="Allow the microphone for Quorin Stream in the desktop&#x27;s privacy settings.">
        <source></source>
        <translation>Permite el micrófono para Quorin Stream en los ajustes de privacidad del escritorio.</translation>
    </message>
    <message id="address">
        <source></source>
        <translation>dirección</translation>
    </message>
    <message id="off">
        <source></source>
        <translation>apagada</translation>
    </message>
    <message id="no carrier">
        <source></source>
        <translation>sin conexión</translation>
    </message>
    <message id="no interface has one">
        <source></source>
        <translation>ninguna interfaz tiene una</translation>
    </message>
    <message id="%1 of %2">
        <source></source>
        <translation>%1 de %2</translation>
    </message>
    <message id="none of %1">
        <source></source>
        <translation>ninguna de %1</translation>
    </message>
    <message id="Connect this computer to the phone&#x27;s network, by Wi-Fi or by wire.">
        <source></source>
        <translation>Conecta este ordenador a la red del teléfono, por Wi-Fi o por cable.</translation>
    </message>
    <message id="port">
        <source></source>
        <translation>puerto</translation>
    </message>
    <message id="%1, free">
        <source></source>
        <translation>%1, libre</translation>
    </message>
    <message id="Choose another, above 1023, with --port.">
        <source></source>
        <translation>Elige otro, mayor que 1023, con --port.</translation>
    </message>
    <message id="%1: in use by the running Quorin Stream (1 phone)">
        <source></source>
        <translation>%1: lo usa el Quorin Stream en marcha (1 teléfono)</translation>
    </message>
    <message id="%1: in use by the running Quorin Stream (%2 phones)">
        <source></source>
        <translation>%1: lo usa el Quorin Stream en marcha (%2 teléfonos)</translation>
    </message>
    <message id="does not answer">
        <source></source>
        <translation>no responde</translation>
    </message>
    <message id="%1: in use">
        <source></source>
        <translation>%1: en uso</translation>
    </message>
    <message id="by %1">
        <source></source>
        <translation>por %1</translation>
    </message>
    <message id="of user %1">
        <source></source>
        <translation>del usuario %1</translation>
    </message>
    <message id="End what holds it, or choose another with --port.">
        <source></source>
        <translation>Termina lo que lo ocupa, o elige otro con --port.</translation>
    </message>
    <message id="USB service">
        <source></source>
        <translation>servicio USB</translation>
    </message>
    <message id="Only the cable needs it. %1">
        <source></source>
        <translation>Solo lo necesita el cable. %1</translation>
    </message>
    <message id="Only the cable needs it; restart it.">
        <source></source>
        <translation>Solo lo necesita el cable; reinícialo.</translation>
    </message>
    <message id="runs; phones: %1">
        <source></source>
        <translation>en marcha; teléfonos: %1</translation>
    </message>
    <message id="not installed">
        <source></source>
        <translation>no instalado</translation>
    </message>
    <message id="not running">
        <source></source>
        <translation>parado</translation>
    </message>
    <message id="real-time priority">
        <source></source>
        <translation>prioridad de tiempo real</translation>
    </message>
    <message id="For an even stream on a busy computer: install rtkit.">
        <source></source>
        <translation>Para un sonido continuo en un ordenador ocupado: instala rtkit.</translation>
    </message>
    <message id="ok">
        <source></source>
        <translation>bien</translation>
    </message>
    <message id="hint">
        <source></source>
        <translation>consejo</translation>
    </message>
    <message id="problem">
        <source></source>
        <translation>problema</translation>
    </message>
    <message id="Streaming over Wi-Fi would work.">
        <source></source>
        <translation>La transmisión por Wi-Fi funcionaría.</translation>
    </message>
    <message id="Streaming would not work yet.">
        <source></source>
        <translation>La transmisión aún no funcionaría.</translation>
    </message>
    <message id="version">
        <source></source>
        <translation>versión</translation>
    </message>
    <message id="Usage:">
        <source></source>
        <translation>Uso:</translation>
    </message>
    <message id="[options]">
        <source></source>
        <translation>[opciones]</translation>
    </message>
    <message id="Options:">
        <source></source>
        <translation>Opciones:</translation>
    </message>
    <message id="Sends the computer&#x27;s sound to a phone in real time.">
        <source></source>
        <translation>Envía el sonido del ordenador a un teléfono en tiempo real.</translation>
    </message>
    <message id="Exit status: 0 when the program ended as asked (with --diagnose: streaming would work), 1 when it could not run or the running program could not do it, 2 when an option was not understood.">
        <source></source>
        <translation>Estado de salida: 0 si el programa terminó como se le pidió (con --diagnose: la transmisión funcionaría), 1 si no pudo funcionar o el programa en marcha no pudo hacerlo, 2 si no se entendió una opción.</translation>
    </message>
    <message id="Enter that mode as soon as the devices are right.">
        <source></source>
        <translation>Entrar en ese modo en cuanto los dispositivos sean los correctos.</translation>
    </message>
    <message id="Set the devices up first, as the button &quot;Set up for me&quot; does.">
        <source></source>
        <translation>Preparar primero los dispositivos, como el botón «Prepáralo por mí».</translation>
    </message>
    <message id="UDP port of the Wi-Fi mode, 1 to 65535 (9000).">
        <source></source>
        <translation>Puerto UDP del modo Wi-Fi, de 1 a 65535 (9000).</translation>
    </message>
    <message id="Show the code of this network, where the computer is in several.">
        <source></source>
        <translation>Mostrar el código de esta red, si el ordenador está en varias.</translation>
    </message>
    <message id="Language of the texts (the system&#x27;s).">
        <source></source>
        <translation>Idioma de los textos (el del sistema).</translation>
    </message>
    <message id="Check what streaming needs, print it and exit.">
        <source></source>
        <translation>Comprobar lo que necesita la transmisión, mostrarlo y salir.</translation>
    </message>
    <message id="With --diagnose: print JSON.">
        <source></source>
        <translation>Con --diagnose: escribir JSON.</translation>
    </message>
    <message id="Log more to standard error.">
        <source></source>
        <translation>Registrar más en la salida de errores.</translation>
    </message>
    <message id="Print this text and exit.">
        <source></source>
        <translation>Mostrar este texto y salir.</translation>
    </message>
    <message id="Print the version and exit.">
        <source></source>
        <translation>Mostrar la versión y salir.</translation>
    </message>
    <message id="granted by the kernel">
        <source></source>
        <translation>concedida por el núcleo</translation>
    </message>
    <message id="granted by rtkit">
        <source></source>
        <translation>concedida por rtkit</translation>
    </message>
    <message id="not granted">
        <source></source>
        <translation>no concedida</translation>
    </message>
    <message id="There is no option &#x27;%1&#x27;.">
        <source></source>
        <translation>No existe la opción «%1».</translation>
    </message>
    <message id="Option &#x27;%1&#x27; lacks its value, or takes none.">
        <source></source>
        <translation>A la opción «%1» le falta su valor, o no lleva ninguno.</translation>
    </message>
    <message id="Unexpected argument &#x27;%1&#x27;.">
        <source></source>
        <translation>Argumento inesperado: «%1».</translation>
    </message>
    <message id="--port needs a number from 1 to 65535, not &#x27;%1&#x27;.">
        <source></source>
        <translation>--port necesita un número de 1 a 65535, no «%1».</translation>
    </message>
    <message id="--start knows wifi and cable, not &#x27;%1&#x27;.">
        <source></source>
        <translation>--start conoce wifi y cable, no «%1».</translation>
    </message>
    <message id="--address needs one such as 192.168.1.20, not &#x27;%1&#x27;.">
        <source></source>
        <translation>--address necesita una dirección como 192.168.1.20, no «%1».</translation>
    </message>
    <message id="--language knows en and es, not &#x27;%1&#x27;.">
        <source></source>
        <translation>--language conoce en y es, no «%1».</translation>
    </message>
    <message id="%1 goes with --diagnose.">
        <source></source>
        <translation>%1 va con --diagnose.</translation>
    </message>
    <message id="Try quorin-stream --help.">
        <source></source>
        <translation>Prueba quorin-stream --help.</translation>
    </message>
    <message id="It runs in another language already; quit it first.">
        <source></source>
        <translation>Ya está en marcha en otro idioma; ciérralo primero.</translation>
    </message>
    <message id="It runs already and does not answer; end that process first.">
        <source></source>
        <translation>Ya está en marcha y no responde; termina antes ese proceso.</translation>
    </message>
    <message id="Phones listen to the running program; stop the stream there first.">
        <source></source>
        <translation>Hay teléfonos escuchando el programa en marcha; detén antes la transmisión.</translation>
    </message>
    <message id="The sound devices are not right yet; it starts when they are.">
        <source></source>
        <translation>Los dispositivos de sonido aún no son los correctos; empezará cuando lo sean.</translation>
    </message>
    <message id="Port %1 cannot be used: %2.">
        <source></source>
        <translation>El puerto %1 no se puede usar: %2.</translation>
    </message>
    <message id="This computer has no network with %1 now. Its addresses: %2.">
        <source></source>
        <translation>Este ordenador no tiene ahora ninguna red con %1. Sus direcciones: %2.</translation>
    </message>
    <message id="no name">
        <source></source>
        <translation>sin nombre</translation>
    </message>
</context>
</TS>
