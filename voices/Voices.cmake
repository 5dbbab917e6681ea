# SPDX-License-Identifier: Apache-2.0
#
# The table of voices. CMakeLists.txt describes the arguments.

# English, United States

kavrel_voice(Corin ID 101 GENDER male AGE 38 LOCALE en_US
  LANGUAGE en-us VARIANT "" PITCH 19.3 0.272 34.7 0.54 REACH 68 170
  DEMO "The kettle is on, the post has come, and there is nothing that cannot wait until ten.")

kavrel_voice(Maren ID 102 GENDER female AGE 34 LOCALE en_US
  LANGUAGE en-us VARIANT "f2" PITCH 38.0 0.510 65.7 1.22 REACH 129 322
  DEMO "If you follow the river past the second bridge, you will see our lights from the path.")

kavrel_voice(Quill ID 103 GENDER neuter AGE 0 LOCALE en_US
  LANGUAGE en-us VARIANT "f4" PITCH 28.4 0.373 65.8 0.92 REACH 113 307
  DEMO "I have no face and no favourite colour, but I will gladly read you the whole letter.")

# French

kavrel_voice(Gaspard ID 111 GENDER male AGE 44 LOCALE fr_FR
  LANGUAGE fr VARIANT "" PITCH 19.1 0.213 34.7 0.52 REACH 64 167
  DEMO "Le garçon a posé la clé sous le gros pot de thym, près de l'escalier.")

kavrel_voice(Solange ID 112 GENDER female AGE 39 LOCALE fr_FR
  LANGUAGE fr VARIANT "f3" PITCH 49.4 0.519 64.1 1.33 REACH 139 328
  DEMO "Dès qu'il fait beau, nous déjeunons dehors, face à l'église et au vieux chêne.")

# English, United Kingdom

kavrel_voice(Ambrose ID 121 GENDER male AGE 52 LOCALE en_GB
  LANGUAGE en VARIANT "m3" PITCH 21.0 0.294 34.7 0.53 REACH 70 173
  DEMO "Mind the low beam on your way in, for supper is hot and so is the poker by the fire.")

kavrel_voice(Winifred ID 122 GENDER female AGE 47 LOCALE en_GB
  LANGUAGE en VARIANT "f3" PITCH 48.9 0.648 64.4 1.33 REACH 146 335
  DEMO "There was a letter for you behind the clock, and it smells faintly of oranges.")

# German

kavrel_voice(Gernot ID 131 GENDER male AGE 41 LOCALE de_DE
  LANGUAGE de VARIANT "" PITCH 18.9 0.210 35.0 0.51 REACH 64 168
  DEMO "Über den Dächern zieht Nebel auf, und der Bäcker hat schon die Straße gefegt.")

kavrel_voice(Roswitha ID 132 GENDER female AGE 45 LOCALE de_DE
  LANGUAGE de VARIANT "f2" PITCH 37.9 0.411 65.8 1.15 REACH 124 318
  DEMO "Stell die Schüssel ans Fenster, dann kühlt der Grießbrei ein wenig schneller ab.")

# Italian

kavrel_voice(Ottavio ID 141 GENDER male AGE 36 LOCALE it_IT
  LANGUAGE it VARIANT "" PITCH 18.7 0.185 35.1 0.61 REACH 63 166
  DEMO "Perché non scendi? C'è ancora un po' di caffè, ed è già mezzogiorno.")

kavrel_voice(Ginevra ID 142 GENDER female AGE 31 LOCALE it_IT
  LANGUAGE it VARIANT "f2" PITCH 38.0 0.372 65.8 1.16 REACH 122 316
  DEMO "La città si sveglia piano, e dal forno sale già il profumo del pane.")

# Dutch

kavrel_voice(Sietse ID 151 GENDER male AGE 40 LOCALE nl_NL
  LANGUAGE nl VARIANT "" PITCH 18.5 0.237 35.1 0.45 REACH 66 169
  DEMO "De pont vaart pas om kwart over zeven, dus drink gerust je koffie op.")

kavrel_voice(Machteld ID 152 GENDER female AGE 37 LOCALE nl_NL
  LANGUAGE nl VARIANT "f3" PITCH 49.6 0.580 63.9 1.26 REACH 142 330
  DEMO "Achter de dijk staat een geïmproviseerd café waar ze uiensoep verkopen.")

# Swedish

kavrel_voice(Hjalmar ID 171 GENDER male AGE 49 LOCALE sv_SE
  LANGUAGE sv VARIANT "" PITCH 20.0 0.307 34.1 0.71 REACH 70 170
  DEMO "Båten ligger kvar vid bryggan, för isen är ännu för tjock på sjön.")

kavrel_voice(Gunborg ID 172 GENDER female AGE 55 LOCALE sv_SE
  LANGUAGE sv VARIANT "f2" PITCH 38.7 0.553 65.2 1.44 REACH 132 324
  DEMO "Ställ gröten på spisen, så går jag ut och hämtar två fång ved.")

# Spanish

kavrel_voice(Fermin ID 181 GENDER male AGE 43 LOCALE es_ES
  LANGUAGE es VARIANT "" PITCH 18.6 0.274 35.0 0.56 REACH 67 170
  DEMO "¿Has visto el camión de la leña? Mañana subirá otra vez hasta el molino.")

kavrel_voice(Remedios ID 182 GENDER female AGE 50 LOCALE es_ES
  LANGUAGE es VARIANT "f3" PITCH 49.4 0.688 64.1 1.37 REACH 148 336
  DEMO "La niña guardó el limón en el bolsillo y echó a correr calle abajo.")

# Danish

kavrel_voice(Thorvald ID 191 GENDER male AGE 46 LOCALE da_DK
  LANGUAGE da VARIANT "" PITCH 18.4 0.272 35.3 0.46 REACH 67 171
  DEMO "Færgen sejler først klokken otte, så vi når sagtens at spise grød.")

kavrel_voice(Bodil ID 192 GENDER female AGE 42 LOCALE da_DK
  LANGUAGE da VARIANT "f3" PITCH 48.1 0.696 65.0 1.28 REACH 148 339
  DEMO "Der står en blå cykel ved døren, og ingen på øen ved, hvem der ejer den.")

# Portuguese, Portugal

kavrel_voice(Vasco ID 201 GENDER male AGE 35 LOCALE pt_PT
  LANGUAGE pt VARIANT "" PITCH 18.7 0.303 35.0 0.53 REACH 69 172
  DEMO "O avô põe as maçãs à sombra e espera que o comboio da manhã passe.")

kavrel_voice(Jacinta ID 202 GENDER female AGE 33 LOCALE pt_PT
  LANGUAGE pt VARIANT "f2" PITCH 37.8 0.604 65.8 1.14 REACH 134 328
  DEMO "Já não há pão, mas a irmã do João foi à loja e volta num instante.")

# Norwegian

kavrel_voice(Torgeir ID 221 GENDER male AGE 48 LOCALE nb_NO
  LANGUAGE nb VARIANT "" PITCH 18.2 0.215 35.3 0.50 REACH 64 168
  DEMO "Båten går ikke før i morgen tidlig, så vi får bli værende på øya.")

kavrel_voice(Ragnhild ID 222 GENDER female AGE 44 LOCALE nb_NO
  LANGUAGE nb VARIANT "f2" PITCH 37.2 0.423 66.3 1.01 REACH 125 320
  DEMO "Sett kjelen på komfyren, så går jeg ut og ser etter sauene på jordet.")

# Finnish

kavrel_voice(Urho ID 271 GENDER male AGE 51 LOCALE fi_FI
  LANGUAGE fi VARIANT "" PITCH 19.1 0.283 34.7 0.60 REACH 68 170
  DEMO "Järven jää on jo ohutta, joten kävele mieluummin tietä pitkin.")

kavrel_voice(Kyllikki ID 272 GENDER female AGE 38 LOCALE fi_FI
  LANGUAGE fi VARIANT "f3" PITCH 49.0 0.693 64.4 1.57 REACH 148 338
  DEMO "Äiti keitti puuroa, ja yöllä satanut lumi peitti koko pihan.")

# Portuguese, Brazil

kavrel_voice(Caetano ID 811 GENDER male AGE 30 LOCALE pt_BR
  LANGUAGE pt-br VARIANT "" PITCH 19.1 0.286 34.7 0.55 REACH 68 170
  DEMO "Amanhã de manhã o ônibus sai às sete, então deixe o portão aberto.")

kavrel_voice(Iracema ID 812 GENDER female AGE 29 LOCALE pt_BR
  LANGUAGE pt-br VARIANT "f3" PITCH 49.2 0.707 64.2 1.54 REACH 149 338
  DEMO "O avião passou baixinho, e a criança correu até o quintal para ver.")
