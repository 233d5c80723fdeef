' Without anybody who can answer, messages take the safe answer at once.
Option Explicit
Dim box
Set box = CreateObject("VMLib.Melding")
WScript.Echo "ok " & box.VmdBox("Klaar", 64, "Kas")
WScript.Echo "ja nee " & box.VmdBox("Doorgaan?", 36, "Kas")
WScript.Echo "annuleren " & box.VmdBox("Opslaan?", 35, "Kas")
