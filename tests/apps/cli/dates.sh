#!/bin/sh
# Years as the host program prints them, in UTC: midnight of New Year is in neither
# year, the moments around it in theirs; a photo without a date shows none, and the
# same name on every run.
program=$1
library=$2
tree() {
    TZ=UTC "$program" --os macos:14.0 --photos-library "$library" tree --source photokit --json
}
first=$(tree) || exit 1
second=$(tree) || exit 1
printf '%s\n%s\n' "$first" "$second" | python3 -c '
import json, sys
text = sys.stdin.read()
decoder = json.JSONDecoder()
runs = []
at = 0
while at < len(text):
    while at < len(text) and text[at].isspace():
        at += 1
    if at < len(text):
        value, at = decoder.raw_decode(text, at)
        runs.append(value["sources"][0])
def foto(number):
    return "photokit:foto#NEWYEAR-%04d_2FL0_2F001" % number
years = {a["id"]: sorted(a["fotos"]) for a in runs[0]["albums"] if a["id"].startswith("photokit:year#")}
expected = {"photokit:year#2021": [foto(3)], "photokit:year#2020": [foto(1)], "photokit:year#2000": []}
fotos = [{f["id"]: f for f in run["fotos"]} for run in runs]
undated = [run[foto(5)] for run in fotos]
problems = []
if years != expected:
    problems.append("years: %s" % years)
if undated[0]["taken"] != "" or undated[0]["name"] != "NEWYEAR-0005.jpg" or undated[1]["name"] != undated[0]["name"]:
    problems.append("undated: %s / %s" % (undated[0], undated[1]))
if fotos[0][foto(2)]["taken"] != "2021-01-01T00:00:00+00:00":
    problems.append("midnight: %s" % fotos[0][foto(2)])
print("\n".join(problems) or "ok")
sys.exit(1 if problems else 0)
'
