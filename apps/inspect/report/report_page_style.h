// report_page_style.h: the style and the script of a report's page.
#pragma once

namespace velm::inspect {

// The drawings carry the colours of a white sheet as attributes, which any rule here overrides. On
// a dark screen the scale of deviations grows lighter to both sides, on paper darker.
inline constexpr const char* page_style = R"css(
:root{--ground:#fff;--ink:#1f2933;--soft:#52606d;--line:#cbd2d9;--out:#7f0014;--band:#f5f7fa}
@media screen and (prefers-color-scheme:dark){
:root{--ground:#14191f;--ink:#e4e7eb;--soft:#a3b0bd;--line:#3e4c59;--out:#ff8f85;--band:#1c232c}
svg [fill="#08306b"]{fill:#8ccbff}svg [stroke="#08306b"]{stroke:#8ccbff}
svg [fill="#2171b5"]{fill:#4c9fe0}svg [stroke="#2171b5"]{stroke:#4c9fe0}
svg [fill="#5a9fd0"]{fill:#3d7fb8}svg [stroke="#5a9fd0"]{stroke:#3d7fb8}
svg [fill="#93c1e0"]{fill:#41688a}svg [stroke="#93c1e0"]{stroke:#41688a}
svg [fill="#a3a9b0"]{fill:#6b7682}svg [stroke="#a3a9b0"]{stroke:#6b7682}
svg [fill="#f0b48f"]{fill:#8f6046}svg [stroke="#f0b48f"]{stroke:#8f6046}
svg [fill="#e07b53"]{fill:#c0694a}svg [stroke="#e07b53"]{stroke:#c0694a}
svg [fill="#c4452f"]{fill:#e8705a}svg [stroke="#c4452f"]{stroke:#e8705a}
svg [fill="#7f0014"]{fill:#ff9d94}svg [stroke="#7f0014"]{stroke:#ff9d94}
svg [fill="#e9ecf0"]{fill:#27303a}svg [stroke="#e9ecf0"]{stroke:#27303a}
svg [fill="#fcefc2"]{fill:#3d3a24}svg [stroke="#fcefc2"]{stroke:#3d3a24}
svg [stroke="#3b4754"]{stroke:#a3b0bd}
svg [stroke="#dde2e8"]{stroke:#323d49}svg [fill="#f7f9fb"]{fill:#1c232c}}
@media print{:root{--ink:#000;--soft:#333;--line:#999;--band:#fff}}
*{box-sizing:border-box}
body{margin:0;background:var(--ground);color:var(--ink);font:16px/1.45 Helvetica,Arial,"Liberation Sans","DejaVu Sans",sans-serif}
main{max-width:70rem;margin:0 auto;padding:1.2rem 1rem 3rem}
h1{font-size:1.5rem;line-height:1.25;margin:0;overflow-wrap:anywhere}h2{font-size:1.15rem;margin:2rem 0 .6rem}
.subtitle{margin:.1rem 0 .8rem;color:var(--soft);overflow-wrap:anywhere}
.verdict{display:inline-block;margin:0 0 1rem;padding:.35rem .8rem;border:1px solid var(--ink);border-radius:4px;font-weight:bold}
.verdict.bad{background:#7f0014;border-color:#7f0014;color:#fff;-webkit-print-color-adjust:exact;print-color-adjust:exact}
figure{margin:0}svg{display:block;width:100%;height:auto;fill:var(--ink);-webkit-print-color-adjust:exact;print-color-adjust:exact}
.drawing{border:1px solid var(--line);border-radius:4px;margin-bottom:1.2rem}
.narrow{display:none}
svg [fill="#52606d"]{fill:var(--soft)}svg [fill="#1f2933"]{fill:var(--ink)}
svg [stroke="#1f2933"]{stroke:var(--ink)}svg [stroke="#52606d"]{stroke:var(--soft)}
svg [stroke="#cbd2d9"]{stroke:var(--line)}svg [stroke="#fff"]{stroke:var(--ground)}
.beside{display:grid;grid-template-columns:repeat(auto-fit,minmax(17rem,1fr));gap:1.2rem 2rem;align-items:start}
.beside svg{max-width:26rem;margin:0 auto}
dl{margin:0}dl div{display:flex;flex-wrap:wrap;justify-content:space-between;gap:0 1rem;border-bottom:1px solid var(--line);padding:.2rem 0}
.figures,.head,.provenance{font-size:.9rem}
.top{display:flex;flex-wrap:wrap;gap:1rem 2.5rem;align-items:flex-start;margin-bottom:1.2rem}.top .head{flex:3 1 20rem}
.top section{flex:2 1 18rem;max-width:30rem}.top h2{margin-top:0}.top .scroll{margin:0}
dt{color:var(--soft);flex:none}dd{margin:0 0 0 auto;max-width:100%;text-align:right;font-variant-numeric:tabular-nums;overflow-wrap:anywhere}
th,dd,h1,.subtitle{unicode-bidi:isolate}
.scroll{overflow-x:auto;margin-bottom:1.2rem}
table{border-collapse:separate;border-spacing:0;width:100%;font-variant-numeric:tabular-nums;font-size:.9rem}
th,td{padding:.25rem .6rem;text-align:right;vertical-align:top;white-space:nowrap;border-bottom:1px solid var(--line)}
th:first-child{position:sticky;left:0;background:var(--ground);text-align:left;font-weight:normal;white-space:normal;overflow-wrap:break-word;min-width:8rem;max-width:16rem}
.one-line th:first-child{white-space:nowrap;min-width:0;max-width:none}
thead th,thead th:first-child{font-weight:bold;border-bottom:2px solid var(--soft)}
tbody tr:nth-child(even)>*{background:var(--band)}tr.out td:nth-child(-n+3){color:var(--out);font-weight:bold}
thead th{position:relative}thead th:hover{text-decoration:underline}
th button{position:absolute;inset:0;margin:0;padding:0;border:0;background:none;cursor:pointer}
:focus-visible{outline:2px solid;outline-offset:2px}th button:focus-visible{outline-offset:-3px}
th[aria-sort=ascending]:not(:first-child)::before,th[aria-sort=ascending]:first-child::after{content:"\2191"}
th[aria-sort=descending]:not(:first-child)::before,th[aria-sort=descending]:first-child::after{content:"\2193"}
thead th::before{position:absolute;margin-left:-.8em}
.filter{display:flex;flex-wrap:wrap;gap:.5rem}.filter[hidden]{display:none}
.filter button{font:inherit;font-size:.9rem;padding:.3rem .8rem;border:1px solid var(--line);border-radius:4px;background:var(--band);color:var(--ink);cursor:pointer}
.filter button[aria-pressed=true]{border-color:var(--ink);font-weight:bold;box-shadow:inset 0 -2px var(--ink)}
.only-in tr.out,.only-out tr.in{display:none}
.only-in tbody tr>*,.only-out tbody tr>*{background:var(--ground)}
@media screen and (max-width:40rem){.wide{display:none}.narrow{display:block}th,td{padding:.35rem .5rem}th:first-child{min-width:9.5rem;max-width:11rem}}
@page{margin:14mm 12mm 16mm;@bottom-right{content:counter(page) " / " counter(pages);font:8pt sans-serif}@bottom-left{font:8pt sans-serif}}
@media print{body{font-size:10pt}main{max-width:none;padding:0}.filter{display:none}.scroll{overflow:visible}
table{font-size:7.5pt}th,td{padding:.15rem .35rem}th:first-child{position:static;min-width:0}thead th::before,thead th::after,th button{display:none}
.drawing svg{max-height:150mm}.head,.provenance{font-size:8.5pt}.top{gap:1rem 2rem;margin-bottom:.6rem}.top .head{flex-basis:16rem}.top section{flex-basis:14rem}figure,dl div{break-inside:avoid}h2{break-after:avoid}thead{display:table-header-group;break-inside:avoid}
.beside{grid-template-columns:1fr 1fr 1.15fr;gap:1rem}.figures{font-size:8.5pt}}
)css";

inline constexpr const char* page_script = R"js(
(function(){
[].slice.call(document.querySelectorAll(".scroll")).forEach(function(scroll){
var table=scroll.querySelector("table"),body=table.tBodies[0],heads=[].slice.call(table.tHead.rows[0].cells);
var rows=[].slice.call(body.rows),texts=new Intl.Collator(undefined,{numeric:true});
function key(row,at){var text=row.cells[at].textContent,number=at===0?NaN:Number(text.replace(/,/g,""));return text===""?null:isNaN(number)?text:number;}
function compare(a,b){return typeof a==="number"&&typeof b==="number"?a-b:texts.compare(a,b);}
function sorted(at,order){
 var keys=rows.map(function(row,n){return{row:row,key:key(row,at),n:n};});
 keys.sort(function(a,b){
  if(a.key===null||b.key===null)return a.key===b.key?a.n-b.n:a.key===null?1:-1;
  return order*compare(a.key,b.key)||a.n-b.n;
 });
 return keys.map(function(item){return item.row;});
}
heads.forEach(function(head,at){
 var button=document.createElement("button");button.type="button";button.setAttribute("aria-label","sort by "+head.textContent);
 head.appendChild(button);
 button.onclick=function(){
  var was=head.getAttribute("aria-sort"),now=was==="ascending"?"descending":was==="descending"?"none":"ascending";
  heads.forEach(function(other){other.removeAttribute("aria-sort");});
  if(now!=="none")head.setAttribute("aria-sort",now);
  var all=document.createDocumentFragment();
  (now==="none"?rows:sorted(at,now==="ascending"?1:-1)).forEach(function(row){all.appendChild(row);});
  body.appendChild(all);
 };
});
var filter=scroll.previousElementSibling;
if(filter&&filter.className==="filter"){
 filter.hidden=false;
 var buttons=[].slice.call(filter.querySelectorAll("button"));
 buttons.forEach(function(button){button.onclick=function(){
  var show=button.getAttribute("data-show");table.className=show?"only-"+show:"";
  buttons.forEach(function(other){other.setAttribute("aria-pressed",String(other===button));});
 };});
}
});
})();
)js";

} // namespace velm::inspect
