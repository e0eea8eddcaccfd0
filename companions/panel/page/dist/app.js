var er=Object.defineProperty;var tr=Object.getOwnPropertyDescriptor;var d=(s,i,e,t)=>{for(var r=t>1?void 0:t?tr(i,e):i,n=s.length-1,o;n>=0;n--)(o=s[n])&&(r=(t?o(i,e,r):o(r))||r);return t&&r&&er(i,e,r),r};var Ne=/^(machines\/[^/]+)?\/?(channels\/\d+)?$/.exec(new URLSearchParams(location.search).get("at")??"")?.[0]??"",Pe=Ne.split("/").filter(s=>s!=="machines").join(" ").replace(/^channels /,"Channel ").replace(/ channels /,", channel "),Tt=`api/v1/${Ne&&Ne+"/"}`,Pt="xp-token";function Yt(){let s=/[#&?]token=([^&]+)/.exec(location.hash)??/[?&]token=([^&]+)/.exec(location.search);if(!s)return;sessionStorage.setItem(Pt,decodeURIComponent(s[1]));let i=location.search.replace(/[?&]token=[^&]*/,"").replace(/^&/,"?");history.replaceState(null,"",location.pathname+i+(location.hash.includes("token=")?"":location.hash))}var W=()=>sessionStorage.getItem(Pt)??"",qe=s=>sessionStorage.setItem(Pt,s),_=class{constructor(i,e,t,r=""){this.status=i;this.code=e;this.sentence=t;this.hint=r}};function nt(s){let i=new URL(Tt+s,document.baseURI);return i.protocol=i.protocol==="https:"?"wss:":"ws:",i.href}var ot=s=>new URL(Tt+s,document.baseURI).href;async function U(s,i,e,t={}){let r={...t};W()&&(r.Authorization=`Bearer ${W()}`),e!==void 0&&(r["Content-Type"]="application/json");try{let n=await fetch(Tt+i,{method:s,headers:r,body:e===void 0?void 0:JSON.stringify(e),cache:"no-store"});return n.ok?n:await ir(n)}catch{return new _(0,"unreachable","The panel does not answer.","It is asked again as soon as the link is back.")}}async function R(s){let i=await U("GET",s);if(i instanceof _)return i;try{return await i.json()}catch{return new _(i.status,"unreadable","The panel's answer cannot be read.")}}async function ir(s){try{let i=await s.json(),e=t=>typeof i[t]=="string"?i[t]:"";return new _(s.status,e("code")||String(s.status),e("detail")||e("title"),e("hint"))}catch{return new _(s.status,String(s.status),`The panel answers ${s.status}.`)}}Yt();document.documentElement.dataset.theme=localStorage.getItem("xp-theme")??"dark";var at=globalThis,lt=at.ShadowRoot&&(at.ShadyCSS===void 0||at.ShadyCSS.nativeShadow)&&"adoptedStyleSheets"in Document.prototype&&"replace"in CSSStyleSheet.prototype,St=Symbol(),Zt=new WeakMap,Be=class{constructor(i,e,t){if(this._$cssResult$=!0,t!==St)throw Error("CSSResult is not constructable. Use `unsafeCSS` or `css` instead.");this.cssText=i,this.t=e}get styleSheet(){let i=this.o,e=this.t;if(lt&&i===void 0){let t=e!==void 0&&e.length===1;t&&(i=Zt.get(e)),i===void 0&&((this.o=i=new CSSStyleSheet).replaceSync(this.cssText),t&&Zt.set(e,i))}return i}toString(){return this.cssText}},Qt=s=>new Be(typeof s=="string"?s:s+"",void 0,St),v=(s,...i)=>{let e=s.length===1?s[0]:i.reduce((t,r,n)=>t+(o=>{if(o._$cssResult$===!0)return o.cssText;if(typeof o=="number")return o;throw Error("Value passed to 'css' function must be a 'css' function result: "+o+". Use 'unsafeCSS' to pass non-literal values, but take care to ensure page security.")})(r)+s[n+1],s[0]);return new Be(e,s,St)},Xt=(s,i)=>{if(lt)s.adoptedStyleSheets=i.map(e=>e instanceof CSSStyleSheet?e:e.styleSheet);else for(let e of i){let t=document.createElement("style"),r=at.litNonce;r!==void 0&&t.setAttribute("nonce",r),t.textContent=e.cssText,s.appendChild(t)}},Ct=lt?s=>s:s=>s instanceof CSSStyleSheet?(i=>{let e="";for(let t of i.cssRules)e+=t.cssText;return Qt(e)})(s):s;var{is:rr,defineProperty:sr,getOwnPropertyDescriptor:nr,getOwnPropertyNames:or,getOwnPropertySymbols:ar,getPrototypeOf:lr}=Object,dt=globalThis,ei=dt.trustedTypes,dr=ei?ei.emptyScript:"",cr=dt.reactiveElementPolyfillSupport,je=(s,i)=>s,Fe={toAttribute(s,i){switch(i){case Boolean:s=s?dr:null;break;case Object:case Array:s=s==null?s:JSON.stringify(s)}return s},fromAttribute(s,i){let e=s;switch(i){case Boolean:e=s!==null;break;case Number:e=s===null?null:Number(s);break;case Object:case Array:try{e=JSON.parse(s)}catch{e=null}}return e}},ct=(s,i)=>!rr(s,i),ti={attribute:!0,type:String,converter:Fe,reflect:!1,useDefault:!1,hasChanged:ct};Symbol.metadata??=Symbol("metadata"),dt.litPropertyMetadata??=new WeakMap;var ee=class extends HTMLElement{static addInitializer(i){this._$Ei(),(this.l??=[]).push(i)}static get observedAttributes(){return this.finalize(),this._$Eh&&[...this._$Eh.keys()]}static createProperty(i,e=ti){if(e.state&&(e.attribute=!1),this._$Ei(),this.prototype.hasOwnProperty(i)&&((e=Object.create(e)).wrapped=!0),this.elementProperties.set(i,e),!e.noAccessor){let t=Symbol(),r=this.getPropertyDescriptor(i,t,e);r!==void 0&&sr(this.prototype,i,r)}}static getPropertyDescriptor(i,e,t){let{get:r,set:n}=nr(this.prototype,i)??{get(){return this[e]},set(o){this[e]=o}};return{get:r,set(o){let c=r?.call(this);n?.call(this,o),this.requestUpdate(i,c,t)},configurable:!0,enumerable:!0}}static getPropertyOptions(i){return this.elementProperties.get(i)??ti}static _$Ei(){if(this.hasOwnProperty(je("elementProperties")))return;let i=lr(this);i.finalize(),i.l!==void 0&&(this.l=[...i.l]),this.elementProperties=new Map(i.elementProperties)}static finalize(){if(this.hasOwnProperty(je("finalized")))return;if(this.finalized=!0,this._$Ei(),this.hasOwnProperty(je("properties"))){let e=this.properties,t=[...or(e),...ar(e)];for(let r of t)this.createProperty(r,e[r])}let i=this[Symbol.metadata];if(i!==null){let e=litPropertyMetadata.get(i);if(e!==void 0)for(let[t,r]of e)this.elementProperties.set(t,r)}this._$Eh=new Map;for(let[e,t]of this.elementProperties){let r=this._$Eu(e,t);r!==void 0&&this._$Eh.set(r,e)}this.elementStyles=this.finalizeStyles(this.styles)}static finalizeStyles(i){let e=[];if(Array.isArray(i)){let t=new Set(i.flat(1/0).reverse());for(let r of t)e.unshift(Ct(r))}else i!==void 0&&e.push(Ct(i));return e}static _$Eu(i,e){let t=e.attribute;return t===!1?void 0:typeof t=="string"?t:typeof i=="string"?i.toLowerCase():void 0}constructor(){super(),this._$Ep=void 0,this.isUpdatePending=!1,this.hasUpdated=!1,this._$Em=null,this._$Ev()}_$Ev(){this._$ES=new Promise(i=>this.enableUpdating=i),this._$AL=new Map,this._$E_(),this.requestUpdate(),this.constructor.l?.forEach(i=>i(this))}addController(i){(this._$EO??=new Set).add(i),this.renderRoot!==void 0&&this.isConnected&&i.hostConnected?.()}removeController(i){this._$EO?.delete(i)}_$E_(){let i=new Map,e=this.constructor.elementProperties;for(let t of e.keys())this.hasOwnProperty(t)&&(i.set(t,this[t]),delete this[t]);i.size>0&&(this._$Ep=i)}createRenderRoot(){let i=this.shadowRoot??this.attachShadow(this.constructor.shadowRootOptions);return Xt(i,this.constructor.elementStyles),i}connectedCallback(){this.renderRoot??=this.createRenderRoot(),this.enableUpdating(!0),this._$EO?.forEach(i=>i.hostConnected?.())}enableUpdating(i){}disconnectedCallback(){this._$EO?.forEach(i=>i.hostDisconnected?.())}attributeChangedCallback(i,e,t){this._$AK(i,t)}_$ET(i,e){let t=this.constructor.elementProperties.get(i),r=this.constructor._$Eu(i,t);if(r!==void 0&&t.reflect===!0){let n=(t.converter?.toAttribute!==void 0?t.converter:Fe).toAttribute(e,t.type);this._$Em=i,n==null?this.removeAttribute(r):this.setAttribute(r,n),this._$Em=null}}_$AK(i,e){let t=this.constructor,r=t._$Eh.get(i);if(r!==void 0&&this._$Em!==r){let n=t.getPropertyOptions(r),o=typeof n.converter=="function"?{fromAttribute:n.converter}:n.converter?.fromAttribute!==void 0?n.converter:Fe;this._$Em=r;let c=o.fromAttribute(e,n.type);this[r]=c??this._$Ej?.get(r)??c,this._$Em=null}}requestUpdate(i,e,t,r=!1,n){if(i!==void 0){let o=this.constructor;if(r===!1&&(n=this[i]),t??=o.getPropertyOptions(i),!((t.hasChanged??ct)(n,e)||t.useDefault&&t.reflect&&n===this._$Ej?.get(i)&&!this.hasAttribute(o._$Eu(i,t))))return;this.C(i,e,t)}this.isUpdatePending===!1&&(this._$ES=this._$EP())}C(i,e,{useDefault:t,reflect:r,wrapped:n},o){t&&!(this._$Ej??=new Map).has(i)&&(this._$Ej.set(i,o??e??this[i]),n!==!0||o!==void 0)||(this._$AL.has(i)||(this.hasUpdated||t||(e=void 0),this._$AL.set(i,e)),r===!0&&this._$Em!==i&&(this._$Eq??=new Set).add(i))}async _$EP(){this.isUpdatePending=!0;try{await this._$ES}catch(e){Promise.reject(e)}let i=this.scheduleUpdate();return i!=null&&await i,!this.isUpdatePending}scheduleUpdate(){return this.performUpdate()}performUpdate(){if(!this.isUpdatePending)return;if(!this.hasUpdated){if(this.renderRoot??=this.createRenderRoot(),this._$Ep){for(let[r,n]of this._$Ep)this[r]=n;this._$Ep=void 0}let t=this.constructor.elementProperties;if(t.size>0)for(let[r,n]of t){let{wrapped:o}=n,c=this[r];o!==!0||this._$AL.has(r)||c===void 0||this.C(r,void 0,n,c)}}let i=!1,e=this._$AL;try{i=this.shouldUpdate(e),i?(this.willUpdate(e),this._$EO?.forEach(t=>t.hostUpdate?.()),this.update(e)):this._$EM()}catch(t){throw i=!1,this._$EM(),t}i&&this._$AE(e)}willUpdate(i){}_$AE(i){this._$EO?.forEach(e=>e.hostUpdated?.()),this.hasUpdated||(this.hasUpdated=!0,this.firstUpdated(i)),this.updated(i)}_$EM(){this._$AL=new Map,this.isUpdatePending=!1}get updateComplete(){return this.getUpdateComplete()}getUpdateComplete(){return this._$ES}shouldUpdate(i){return!0}update(i){this._$Eq&&=this._$Eq.forEach(e=>this._$ET(e,this[e])),this._$EM()}updated(i){}firstUpdated(i){}};ee.elementStyles=[],ee.shadowRootOptions={mode:"open"},ee[je("elementProperties")]=new Map,ee[je("finalized")]=new Map,cr?.({ReactiveElement:ee}),(dt.reactiveElementVersions??=[]).push("2.1.2");var zt=globalThis,ii=s=>s,ht=zt.trustedTypes,ri=ht?ht.createPolicy("lit-html",{createHTML:s=>s}):void 0,Lt="$lit$",te=`lit$${Math.random().toFixed(9).slice(2)}$`,Ot="?"+te,hr=`<${Ot}>`,ve=document,Ve=()=>ve.createComment(""),We=s=>s===null||typeof s!="object"&&typeof s!="function",Ut=Array.isArray,di=s=>Ut(s)||typeof s?.[Symbol.iterator]=="function",Rt=`[ 	
\f\r]`,Ke=/<(?:(!--|\/[^a-zA-Z])|(\/?[a-zA-Z][^>\s]*)|(\/?$))/g,si=/-->/g,ni=/>/g,ge=RegExp(`>|${Rt}(?:([^\\s"'>=/]+)(${Rt}*=${Rt}*(?:[^ 	
\f\r"'\`<>=]|("|')|))|$)`,"g"),oi=/'/g,ai=/"/g,ci=/^(?:script|style|textarea|title)$/i,Dt=s=>(i,...e)=>({_$litType$:s,strings:i,values:e}),a=Dt(1),I=Dt(2),Is=Dt(3),H=Symbol.for("lit-noChange"),h=Symbol.for("lit-nothing"),li=new WeakMap,fe=ve.createTreeWalker(ve,129);function hi(s,i){if(!Ut(s)||!s.hasOwnProperty("raw"))throw Error("invalid template strings array");return ri!==void 0?ri.createHTML(i):i}var pi=(s,i)=>{let e=s.length-1,t=[],r,n=i===2?"<svg>":i===3?"<math>":"",o=Ke;for(let c=0;c<e;c++){let l=s[c],m,u,p=-1,y=0;for(;y<l.length&&(o.lastIndex=y,u=o.exec(l),u!==null);)y=o.lastIndex,o===Ke?u[1]==="!--"?o=si:u[1]!==void 0?o=ni:u[2]!==void 0?(ci.test(u[2])&&(r=RegExp("</"+u[2],"g")),o=ge):u[3]!==void 0&&(o=ge):o===ge?u[0]===">"?(o=r??Ke,p=-1):u[1]===void 0?p=-2:(p=o.lastIndex-u[2].length,m=u[1],o=u[3]===void 0?ge:u[3]==='"'?ai:oi):o===ai||o===oi?o=ge:o===si||o===ni?o=Ke:(o=ge,r=void 0);let k=o===ge&&s[c+1].startsWith("/>")?" ":"";n+=o===Ke?l+hr:p>=0?(t.push(m),l.slice(0,p)+Lt+l.slice(p)+te+k):l+te+(p===-2?c:k)}return[hi(s,n+(s[e]||"<?>")+(i===2?"</svg>":i===3?"</math>":"")),t]},Ge=class s{constructor({strings:i,_$litType$:e},t){let r;this.parts=[];let n=0,o=0,c=i.length-1,l=this.parts,[m,u]=pi(i,e);if(this.el=s.createElement(m,t),fe.currentNode=this.el.content,e===2||e===3){let p=this.el.content.firstChild;p.replaceWith(...p.childNodes)}for(;(r=fe.nextNode())!==null&&l.length<c;){if(r.nodeType===1){if(r.hasAttributes())for(let p of r.getAttributeNames())if(p.endsWith(Lt)){let y=u[o++],k=r.getAttribute(p).split(te),w=/([.?@])?(.*)/.exec(y);l.push({type:1,index:n,name:w[2],strings:k,ctor:w[1]==="."?mt:w[1]==="?"?ut:w[1]==="@"?gt:we}),r.removeAttribute(p)}else p.startsWith(te)&&(l.push({type:6,index:n}),r.removeAttribute(p));if(ci.test(r.tagName)){let p=r.textContent.split(te),y=p.length-1;if(y>0){r.textContent=ht?ht.emptyScript:"";for(let k=0;k<y;k++)r.append(p[k],Ve()),fe.nextNode(),l.push({type:2,index:++n});r.append(p[y],Ve())}}}else if(r.nodeType===8)if(r.data===Ot)l.push({type:2,index:n});else{let p=-1;for(;(p=r.data.indexOf(te,p+1))!==-1;)l.push({type:7,index:n}),p+=te.length-1}n++}}static createElement(i,e){let t=ve.createElement("template");return t.innerHTML=i,t}};function be(s,i,e=s,t){if(i===H)return i;let r=t!==void 0?e._$Co?.[t]:e._$Cl,n=We(i)?void 0:i._$litDirective$;return r?.constructor!==n&&(r?._$AO?.(!1),n===void 0?r=void 0:(r=new n(s),r._$AT(s,e,t)),t!==void 0?(e._$Co??=[])[t]=r:e._$Cl=r),r!==void 0&&(i=be(s,r._$AS(s,i.values),r,t)),i}var pt=class{constructor(i,e){this._$AV=[],this._$AN=void 0,this._$AD=i,this._$AM=e}get parentNode(){return this._$AM.parentNode}get _$AU(){return this._$AM._$AU}u(i){let{el:{content:e},parts:t}=this._$AD,r=(i?.creationScope??ve).importNode(e,!0);fe.currentNode=r;let n=fe.nextNode(),o=0,c=0,l=t[0];for(;l!==void 0;){if(o===l.index){let m;l.type===2?m=new Se(n,n.nextSibling,this,i):l.type===1?m=new l.ctor(n,l.name,l.strings,this,i):l.type===6&&(m=new ft(n,this,i)),this._$AV.push(m),l=t[++c]}o!==l?.index&&(n=fe.nextNode(),o++)}return fe.currentNode=ve,r}p(i){let e=0;for(let t of this._$AV)t!==void 0&&(t.strings!==void 0?(t._$AI(i,t,e),e+=t.strings.length-2):t._$AI(i[e])),e++}},Se=class s{get _$AU(){return this._$AM?._$AU??this._$Cv}constructor(i,e,t,r){this.type=2,this._$AH=h,this._$AN=void 0,this._$AA=i,this._$AB=e,this._$AM=t,this.options=r,this._$Cv=r?.isConnected??!0}get parentNode(){let i=this._$AA.parentNode,e=this._$AM;return e!==void 0&&i?.nodeType===11&&(i=e.parentNode),i}get startNode(){return this._$AA}get endNode(){return this._$AB}_$AI(i,e=this){i=be(this,i,e),We(i)?i===h||i==null||i===""?(this._$AH!==h&&this._$AR(),this._$AH=h):i!==this._$AH&&i!==H&&this._(i):i._$litType$!==void 0?this.$(i):i.nodeType!==void 0?this.T(i):di(i)?this.k(i):this._(i)}O(i){return this._$AA.parentNode.insertBefore(i,this._$AB)}T(i){this._$AH!==i&&(this._$AR(),this._$AH=this.O(i))}_(i){this._$AH!==h&&We(this._$AH)?this._$AA.nextSibling.data=i:this.T(ve.createTextNode(i)),this._$AH=i}$(i){let{values:e,_$litType$:t}=i,r=typeof t=="number"?this._$AC(i):(t.el===void 0&&(t.el=Ge.createElement(hi(t.h,t.h[0]),this.options)),t);if(this._$AH?._$AD===r)this._$AH.p(e);else{let n=new pt(r,this),o=n.u(this.options);n.p(e),this.T(o),this._$AH=n}}_$AC(i){let e=li.get(i.strings);return e===void 0&&li.set(i.strings,e=new Ge(i)),e}k(i){Ut(this._$AH)||(this._$AH=[],this._$AR());let e=this._$AH,t,r=0;for(let n of i)r===e.length?e.push(t=new s(this.O(Ve()),this.O(Ve()),this,this.options)):t=e[r],t._$AI(n),r++;r<e.length&&(this._$AR(t&&t._$AB.nextSibling,r),e.length=r)}_$AR(i=this._$AA.nextSibling,e){for(this._$AP?.(!1,!0,e);i!==this._$AB;){let t=ii(i).nextSibling;ii(i).remove(),i=t}}setConnected(i){this._$AM===void 0&&(this._$Cv=i,this._$AP?.(i))}},we=class{get tagName(){return this.element.tagName}get _$AU(){return this._$AM._$AU}constructor(i,e,t,r,n){this.type=1,this._$AH=h,this._$AN=void 0,this.element=i,this.name=e,this._$AM=r,this.options=n,t.length>2||t[0]!==""||t[1]!==""?(this._$AH=Array(t.length-1).fill(new String),this.strings=t):this._$AH=h}_$AI(i,e=this,t,r){let n=this.strings,o=!1;if(n===void 0)i=be(this,i,e,0),o=!We(i)||i!==this._$AH&&i!==H,o&&(this._$AH=i);else{let c=i,l,m;for(i=n[0],l=0;l<n.length-1;l++)m=be(this,c[t+l],e,l),m===H&&(m=this._$AH[l]),o||=!We(m)||m!==this._$AH[l],m===h?i=h:i!==h&&(i+=(m??"")+n[l+1]),this._$AH[l]=m}o&&!r&&this.j(i)}j(i){i===h?this.element.removeAttribute(this.name):this.element.setAttribute(this.name,i??"")}},mt=class extends we{constructor(){super(...arguments),this.type=3}j(i){this.element[this.name]=i===h?void 0:i}},ut=class extends we{constructor(){super(...arguments),this.type=4}j(i){this.element.toggleAttribute(this.name,!!i&&i!==h)}},gt=class extends we{constructor(i,e,t,r,n){super(i,e,t,r,n),this.type=5}_$AI(i,e=this){if((i=be(this,i,e,0)??h)===H)return;let t=this._$AH,r=i===h&&t!==h||i.capture!==t.capture||i.once!==t.once||i.passive!==t.passive,n=i!==h&&(t===h||r);r&&this.element.removeEventListener(this.name,this,t),n&&this.element.addEventListener(this.name,this,i),this._$AH=i}handleEvent(i){typeof this._$AH=="function"?this._$AH.call(this.options?.host??this.element,i):this._$AH.handleEvent(i)}},ft=class{constructor(i,e,t){this.element=i,this.type=6,this._$AN=void 0,this._$AM=e,this.options=t}get _$AU(){return this._$AM._$AU}_$AI(i){be(this,i)}},mi={M:Lt,P:te,A:Ot,C:1,L:pi,R:pt,D:di,V:be,I:Se,H:we,N:ut,U:gt,B:mt,F:ft},pr=zt.litHtmlPolyfillSupport;pr?.(Ge,Se),(zt.litHtmlVersions??=[]).push("3.3.3");var ui=(s,i,e)=>{let t=e?.renderBefore??i,r=t._$litPart$;if(r===void 0){let n=e?.renderBefore??null;t._$litPart$=r=new Se(i.insertBefore(Ve(),n),n,void 0,e??{})}return r._$AI(s),r};var Ht=globalThis,A=class extends ee{constructor(){super(...arguments),this.renderOptions={host:this},this._$Do=void 0}createRenderRoot(){let i=super.createRenderRoot();return this.renderOptions.renderBefore??=i.firstChild,i}update(i){let e=this.render();this.hasUpdated||(this.renderOptions.isConnected=this.isConnected),super.update(i),this._$Do=ui(e,this.renderRoot,this.renderOptions)}connectedCallback(){super.connectedCallback(),this._$Do?.setConnected(!0)}disconnectedCallback(){super.disconnectedCallback(),this._$Do?.setConnected(!1)}render(){return H}};A._$litElement$=!0,A.finalized=!0,Ht.litElementHydrateSupport?.({LitElement:A});var mr=Ht.litElementPolyfillSupport;mr?.({LitElement:A});(Ht.litElementVersions??=[]).push("4.2.2");var b=s=>(i,e)=>{e!==void 0?e.addInitializer(()=>{customElements.define(s,i)}):customElements.define(s,i)};var ur={attribute:!0,type:String,converter:Fe,reflect:!1,hasChanged:ct},gr=(s=ur,i,e)=>{let{kind:t,metadata:r}=e,n=globalThis.litPropertyMetadata.get(r);if(n===void 0&&globalThis.litPropertyMetadata.set(r,n=new Map),t==="setter"&&((s=Object.create(s)).wrapped=!0),n.set(e.name,s),t==="accessor"){let{name:o}=e;return{set(c){let l=i.get.call(this);i.set.call(this,c),this.requestUpdate(o,l,s,!0,c)},init(c){return c!==void 0&&this.C(o,void 0,s,c),c}}}if(t==="setter"){let{name:o}=e;return function(c){let l=this[o];i.call(this,c),this.requestUpdate(o,l,s,!0,c)}}throw Error("Unsupported decorator location: "+t)};function f(s){return(i,e)=>typeof e=="object"?gr(s,i,e):((t,r,n)=>{let o=r.hasOwnProperty(n);return r.constructor.createProperty(n,t),o?Object.getOwnPropertyDescriptor(r,n):void 0})(s,i,e)}function g(s){return f({...s,state:!0,attribute:!1})}var $e=(s,i,e)=>(e.configurable=!0,e.enumerable=!0,Reflect.decorate&&typeof i!="object"&&Object.defineProperty(s,i,e),e);function T(s,i){return(e,t,r)=>{let n=o=>o.renderRoot?.querySelector(s)??null;if(i){let{get:o,set:c}=typeof t=="object"?e:r??(()=>{let l=Symbol();return{get(){return this[l]},set(m){this[l]=m}}})();return $e(e,t,{get(){let l=o.call(this);return l===void 0&&(l=n(this),(l!==null||this.hasUpdated)&&c.call(this,l)),l}})}return $e(e,t,{get(){return n(this)}})}}var Je=class extends Event{constructor(e){super("xp-frame");this.frame=e}};function vt(s,i,e){if(!i)return()=>{};let t=s.getRootNode(),r=n=>{n instanceof Je&&n.target.id===i&&e(n.frame)};return t.addEventListener("xp-frame",r,!0),()=>t.removeEventListener("xp-frame",r,!0)}var q=-60,fr=20/1.7,vr=1500,Ye=-9,br=-18,wr=[0,-6,-12,-18,-24,-30,-40,-50],$r=s=>s>0?Math.max(q,20*Math.log10(s)):q,Z=class extends A{constructor(){super(...arguments);this.channels=8;this.flat=!1;this.stale=!1;this.picture="";this.state=[];this.shown=0;this.loudest=q;this.release=()=>{};this.observer=new ResizeObserver(()=>this.draw())}connectedCallback(){super.connectedCallback(),this.release=vt(this,this.picture,e=>this.show(e.meters)),this.observer.observe(this)}disconnectedCallback(){super.disconnectedCallback(),this.release(),this.observer.disconnect()}show(e){let t=performance.now(),r=this.shown?fr*Math.min(t-this.shown,1e3)/1e3:0;this.shown=t,this.loudest=q;for(let n=0;n<this.channels;++n){let o=$r(e[n]??0),c=this.state[n]??={level:q,peak:q,peakAt:0};c.level=Math.max(o,c.level-r),o>=c.peak?[c.peak,c.peakAt]=[o,t]:t-c.peakAt>vr&&(c.peak=Math.max(c.level,c.peak-r)),this.loudest=Math.max(this.loudest,c.level)}this.draw()}draw(){let e=this.canvas,t=e?.getContext("2d");if(!t||!this.clientWidth)return;let r=window.devicePixelRatio,n=Math.round(this.clientWidth*r),o=Math.round(this.clientHeight*r);(e.width!==n||e.height!==o)&&([e.width,e.height]=[n,o]);let c=getComputedStyle(this),l=(C,V)=>c.getPropertyValue(C).trim()||V;t.clearRect(0,0,n,o);let u=.62*(parseFloat(c.fontSize)*r),p=this.flat?1.1*u:2*u,y=this.flat?1.2*u:1.5*u,k=this.flat?n-y:o-y-u/2,w=(this.flat?o:n)-p,E=w/this.channels,S=Math.max(1,Math.floor(E*.68)),K=C=>Math.round((Math.max(C,q)-q)/-q*k);t.font=`${u}px ${l("--sans","sans-serif")}`,t.textBaseline="middle";let Ie=(C,V,Y,Jt)=>{this.flat?t.fillRect(y+C,V,Y,Jt):t.fillRect(p+V,o-y-C-Y,Jt,Y)};for(let C=0;C<this.channels;++C){let V=Math.round(C*E),Y=this.state[C]??{level:q,peak:q,peakAt:0};t.fillStyle=l("--raised","#1b1e21"),Ie(0,V,k,S),t.fillStyle=l("--text","#c9ced3"),Ie(0,V,K(Math.min(Y.level,Ye)),S),Y.level>Ye&&(t.fillStyle=l("--amber","#f0a830"),Ie(K(Ye),V,K(Y.level)-K(Ye),S)),Y.peak>q&&(t.fillStyle=Y.peak>Ye?l("--amber","#f0a830"):l("--bright","#fff"),Ie(K(Y.peak)-Math.ceil(r),V,2*Math.ceil(r),S)),t.fillStyle=l("--dim","#8d959d"),t.textAlign="center",!(E<u)&&(this.flat?t.fillText(String(C+1),u/2,V+S/2):t.fillText(String(C+1),p+V+S/2,o-y/2))}t.textAlign=this.flat?"center":"right";for(let C of wr)t.fillStyle=l(C===br?"--bright":"--dim","#8d959d"),this.flat?t.fillText(String(-C),Math.min(y+K(C),n-u/2),o-p/2):t.fillText(String(-C),p-.45*u,o-y-K(C)),t.fillStyle=l("--ground","#000"),Ie(K(C),0,Math.max(1,Math.round(r)),w)}render(){let e=this.loudest<=q?"silent":`${this.loudest.toFixed(0)} decibels of full scale`;return a`<canvas role="img" aria-label="Sound levels: ${e}"></canvas>`}};Z.styles=v`
    :host { display: block; position: relative; }
    canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
    :host([stale]) canvas { opacity: 0.3; }
  `,d([f({type:Number})],Z.prototype,"channels",2),d([f({type:Boolean})],Z.prototype,"flat",2),d([f({type:Boolean,reflect:!0})],Z.prototype,"stale",2),d([f({attribute:"for"})],Z.prototype,"picture",2),d([T("canvas")],Z.prototype,"canvas",2),Z=d([b("xp-meter")],Z);var yr=1,kr=200,xr=800,_r=1e3,bt=class{constructor(){this.onframe=()=>{};this.fallback=!1;this.at="";this.socket=null;this.waiting=null;this.decoding=!1;this.failures=0;this.heard=0;this.running=!1}start(){this.running||(this.running=!0,this.connect())}stop(){this.running=!1,this.socket?.close(),this.socket=null}renew(){if(!this.running||this.age<_r||!this.socket)return;let i=this.socket;this.socket=null,i.onmessage=i.onclose=null,i.close(),this.open()}connect(){if(this.running){if(this.failures>=3){this.fallback||(this.fallback=!0,this.askForFile()),setTimeout(()=>this.open(),xr);return}this.open()}}open(){if(!this.running)return;let i;try{i=new WebSocket(nt(`${this.at}pictures?acknowledge=1`),W()?["xp",`token.${W()}`]:["xp"])}catch{this.failures++,setTimeout(()=>this.connect(),200);return}i.binaryType="arraybuffer",this.socket=i,i.onmessage=e=>{e.data instanceof ArrayBuffer&&(this.failures=0,this.fallback=!1,this.heard=performance.now(),i.send(`{"got": ${new DataView(e.data).getBigUint64(104,!0)}}`),this.waiting=e.data,this.decode())},i.onclose=()=>{i===this.socket&&(this.socket=null,this.failures++,setTimeout(()=>this.connect(),200))}}get age(){return performance.now()-this.heard}async decode(){if(!this.decoding){for(this.decoding=!0;this.waiting;){let i=this.waiting;this.waiting=null;try{let e=await Er(i);e&&this.onframe(e)}catch{}}this.decoding=!1}}async askForFile(){for(;this.running&&this.fallback;){try{let i=await fetch(ot(`${this.at}picture.jpg`),{cache:"no-store",headers:W()?{Authorization:`Bearer ${W()}`}:{}});i.ok&&await this.showFile(i)}catch{}await new Promise(i=>setTimeout(i,kr))}}async showFile(i){let e=r=>i.headers.get(r)??"",t=await createImageBitmap(await i.blob());this.heard=performance.now(),this.onframe({tick:Number(e("X-Tick")),frame:Number(e("X-Frame")||-1),timecode:e("X-Timecode"),isCapture:e("X-Capture")==="1",isRepeat:!1,hasPicture:!0,meters:e("X-Meters").split(",").filter(Boolean).map(Number),loudness:null,captured:Number(e("X-Captured")),aspect:gi(...e("X-Aspect").split(":").map(Number)),image:t})}},gi=(s,i=0)=>i>0?s/i:0;async function Er(s){let i=new DataView(s);if(s.byteLength<112||i.getUint16(0,!0)!==yr)return null;let e=i.getUint16(2,!0),t=i.getUint32(4,!0),r=[];for(let c=0;c<8;++c)r.push(i.getFloat32(32+4*c,!0));let n=new TextDecoder().decode(new Uint8Array(s,64,32)),o=await createImageBitmap(new Blob([new Uint8Array(s,e)],{type:"image/jpeg"}));return{tick:Number(i.getBigInt64(8,!0)),frame:Number(i.getBigInt64(16,!0)),captured:Number(i.getBigInt64(24,!0))/1e6,meters:r,loudness:e>=120?[i.getFloat32(112,!0),i.getFloat32(116,!0)]:null,timecode:n.slice(0,n.indexOf("\0")<0?void 0:n.indexOf("\0")),isCapture:(t&1)!==0,isRepeat:(t&2)!==0,hasPicture:(t&4)!==0,aspect:e>=124?gi(i.getUint16(120,!0),i.getUint16(122,!0)):0,image:o}}var de=class extends A{constructor(){super(...arguments);this.auto=!1;this.stale=!1;this.link=new bt;this.last=null}connectedCallback(){super.connectedCallback(),this.link.onframe=e=>this.paint(e),this.auto&&this.link.start()}disconnectedCallback(){super.disconnectedCallback(),this.link.stop()}paint(e){let t=this.canvas;if(!t)return;let{height:r}=e.image,n=e.aspect>0?Math.round(r*e.aspect):e.image.width;(t.width!==n||t.height!==r)&&(t.width=n,t.height=r),t.getContext("2d",{alpha:!1})?.drawImage(e.image,0,0,n,r),e.image.close(),this.last=e,this.dispatchEvent(new Je(e))}render(){return a`<canvas width="960" height="540" role="img" aria-label="Picture on the output"></canvas>`}};de.styles=v`
    :host { display: block; position: relative; background: #000; overflow: hidden; }
    canvas { display: block; width: 100%; height: 100%; object-fit: contain; }
    :host([stale]) canvas { filter: grayscale(1) brightness(0.45); }
  `,d([f({type:Boolean})],de.prototype,"auto",2),d([f({type:Boolean,reflect:!0})],de.prototype,"stale",2),d([T("canvas")],de.prototype,"canvas",2),de=d([b("xp-picture")],de);var ie=class extends A{constructor(){super(...arguments);this.value="--:--:--:--";this.age=0;this.recording=!1;this.picture="";this.release=()=>{}}connectedCallback(){super.connectedCallback(),this.release=vt(this,this.picture,e=>this.value=e.timecode)}disconnectedCallback(){super.disconnectedCallback(),this.release()}render(){let e=this.age>0;return a`<span role="timer" aria-live="off" class=${e?"stale":""}>${this.value||"--:--:--:--"}</span>${this.age>=1?a`<span class="age">${(this.age/1e3).toFixed(1)} s old</span>`:h}`}};ie.styles=v`
    :host { display: inline-block; font-family: var(--sans, sans-serif); font-weight: 700; font-variant-numeric: tabular-nums;
      line-height: 1; white-space: pre; position: relative; color: var(--bright, #f5f7f8); letter-spacing: -0.01em; }
    :host([recording]) { color: var(--red-text, #ff5f54); }
    .stale { color: var(--edge, #5d656d); }
    .age { font-family: var(--sans, sans-serif); font-size: max(0.16em, 12px); letter-spacing: 0; color: var(--on-amber, #141006); background: var(--amber, #f0a830); position: absolute; right: 0; bottom: 0; padding: 0.1em 0.4em; border-radius: 0.15em; }
  `,d([f()],ie.prototype,"value",2),d([f({type:Number})],ie.prototype,"age",2),d([f({type:Boolean,reflect:!0})],ie.prototype,"recording",2),d([f({attribute:"for"})],ie.prototype,"picture",2),ie=d([b("xp-timecode")],ie);var fi=500,Ar=12e3,Mr=150,vi=[100,250,500,900],Ce=class{constructor(i=""){this.at=i;this.state=null;this.counters={};this.verbs=[];this.parameters=new Map;this.pending=new Set;this.notice=null;this.linked=!1;this.me={name:"",role:"view"};this.silence=0;this.blindness=0;this.clockOffset=null;this.version="";this.zone="";this.onlink=()=>{};this.socket=null;this.seq=-1;this.boot="";this.heard=performance.now();this.seen=performance.now();this.asked=performance.now();this.tries=0;this.listeners=new Set;this.scheduled=!1;this.bestTrip=1/0;this.owedSteps=0;this.stepping=!1;this.wantedSpeed=null;this.speeding=!1;this.sentSpeed=null;this.timer=0;this.beats=0;this.watch=()=>{(this.beats++<10||this.beats%10===0)&&this.ping();let i=performance.now(),e=i-this.heard;Math.min(e,i-this.asked)>3*fi&&this.socket&&this.abandon(this.socket);let t=n=>n>fi?n:0,r=this.state?.running===!1?0:t(i-this.seen);t(e)===this.silence&&r===this.blindness||(this.silence=t(e),this.blindness=r,this.changed())}}start(){this.connect(),this.timer=window.setInterval(()=>this.watch(),100),document.addEventListener("visibilitychange",this.watch)}stop(){clearInterval(this.timer),document.removeEventListener("visibilitychange",this.watch);let i=this.socket;this.socket=null,i?.close()}subscribe(i){return this.listeners.add(i),()=>this.listeners.delete(i)}pictureSeen(){this.seen=performance.now(),this.blindness!==0&&(this.blindness=0,this.changed())}get stale(){return this.silence>0}get frozen(){return Math.max(this.silence,this.blindness)}verb(i){return this.verbs.find(e=>e.name===i)}async run(i,e={}){this.pending=new Set([...this.pending,i]),this.changed();let t=await U("POST",`${this.at}transport/${i}`,e);this.pending=new Set([...this.pending].filter(n=>n!==i));let r=await bi(t);return r.done?this.notice?.kind==="refused"&&(this.notice=null):this.tell({kind:"refused",title:M(i),...Tr(r)}),this.changed(),r}async ready(){let i=await R(`${this.at}ready`);return i instanceof _?L(i.sentence):""}steps(i){this.owedSteps+=i,!this.stepping&&(this.stepping=!0,(async()=>{for(;this.owedSteps!==0;){let e=this.owedSteps;this.owedSteps=0,(await this.run("step",{frames:e})).done||(this.owedSteps=0)}this.stepping=!1})())}speed(i){this.wantedSpeed=i,!this.speeding&&(this.speeding=!0,(async()=>{for(;this.wantedSpeed!==null;){let e=this.sentSpeed=this.wantedSpeed;this.wantedSpeed=null,(e===0?await this.run("still"):await this.run("play",{speed:e})).done||(this.wantedSpeed=null)}this.speeding=!1,this.sentSpeed=null})())}get askedSpeed(){return this.wantedSpeed??this.sentSpeed}async set(i,e){return bi(await U("PUT",`${this.at}params/${encodeURIComponent(i)}`,{value:e}))}tell(i){this.notice=i,i&&setTimeout(()=>this.notice===i&&this.tell(null),Ar),this.changed()}changed(){if(this.scheduled)return;this.scheduled=!0;let i=()=>{if(this.scheduled){this.scheduled=!1;for(let e of[...this.listeners])try{e()}catch(t){reportError(t)}}};document.hidden||requestAnimationFrame(i),setTimeout(i,Mr)}connect(){let i=new URLSearchParams;this.seq>=0&&i.set("since",String(this.seq)),this.boot&&i.set("boot",this.boot),this.asked=performance.now();let e=new WebSocket(nt(`${this.at}events`)+(i.size?`?${i}`:""),W()?["xp",`token.${W()}`]:["xp"]);this.socket=e,e.onopen=()=>this.ping(),e.onmessage=t=>this.receive(t),e.onclose=()=>this.lost(e)}abandon(i){i.onmessage=i.onclose=null,i.close(),this.lost(i)}reconnect(){this.seq=-1,this.tries=0,this.socket?.close()}async whoAmI(){let i=await R(`${this.at}me`);if(i instanceof _){if(i.status!==401||!W())return;qe(""),this.tell({kind:"lost",title:"The session has ended",text:"This page may only watch until you log in again, under Control."});return}i.name===this.me.name&&i.role===this.me.role||(this.me=i,this.changed())}lost(i){if(i!==this.socket)return;this.socket=null,this.linked=!1,this.changed(),this.tries>0&&this.whoAmI();let e=vi[Math.min(this.tries++,vi.length-1)];setTimeout(()=>this.connect(),e)}receive(i){let e;try{e=JSON.parse(String(i.data))}catch{return}switch(this.heard=performance.now(),this.silence=0,e.type){case"hello":this.boot!==e.boot&&(this.seq=-1),this.boot=String(e.boot??""),this.version=String(e.version??""),this.zone=String(e.zone??""),this.linked=!0,this.tries=0,this.onlink(),this.whoAmI(),this.readTables();break;case"counters":this.counters=e.counters;break;case"snapshot":this.state=e.state,this.seq=Number(e.seq);break;case"delta":if(this.state===null||Number(e.seq)!==this.seq+1){this.seq=-1,this.socket?.close();return}this.seq=Number(e.seq),this.state={...this.state,...e.changed};break;case"pong":this.measure(Number(e.ping),Number(e.time));return;default:return}this.changed()}ping(){this.socket?.readyState===WebSocket.OPEN&&this.socket.send(JSON.stringify({ping:performance.now()}))}measure(i,e){let r=performance.now()-i;this.bestTrip=Math.min(this.bestTrip*1.02,1/0),!(r>this.bestTrip)&&(this.bestTrip=r,this.clockOffset=e-(i+r/2))}async readTables(){let i=await R(`${this.at}verbs`);i instanceof _||(this.verbs=i.verbs),await this.readParameters()}async readParameters(){let i=await R(`${this.at}params`);i instanceof _||(this.parameters=new Map(i.parameters.map(e=>[e.name,e])),this.changed())}};function L(s){let i=/^[a-z]+(?=[\s,:;']|$)/.test(s)?s.charAt(0).toUpperCase()+s.slice(1):s;return s&&i.replace(/[.]?$/,".")}var M=s=>{let i=s.replaceAll("_"," ");return i.charAt(0).toUpperCase()+i.slice(1)};function ce(s){return[s.sentence,s.hint].filter(Boolean).map(L).join(" ")}function Tr(s){if(s.status===401)return{text:"This session may only watch.",link:{href:"#/control",text:"Log in"}};let i=/\s*[(]?alarm \w+; `alarms` lists what is wrong[)]?/,e=/,? with: `?set (\w+)[^.(`]*`?/,t=e.exec(s.hint)?.[1],r=ce({...s,hint:s.hint.replace(i,"").replace(e,"").trim()});return t?{text:r,link:{href:`#/settings/${t}`,text:M(t)}}:i.test(s.hint)?{text:r,link:{href:"#/alarms",text:"Alarms"}}:{text:r}}async function bi(s){if(s instanceof _)return{done:!1,status:s.status,code:s.code,sentence:s.sentence,hint:s.hint};try{let{sentence:i}=await s.json();return{done:!0,code:"done",sentence:i??"",hint:""}}catch{return{done:!0,code:"done",sentence:"",hint:""}}}var Ze=s=>s.replace(/\[[^[\]]*\)$/,""),P=s=>s?.status==="recording",ye=s=>P(s)?s?.start_in??0:0,ke=s=>!s?.running||P(s)||s.status==="stopped"?-1:Math.max(0,s.frame);function wi(){let s=[],i=0;return{add(e){return s.push(e),s.length>50&&s.shift(),++i%10!==0?null:[...s].sort((t,r)=>t-r)[s.length>>1]},all:()=>[...s]}}var x=class extends A{constructor(){super(...arguments);this.unsubscribe=()=>{};this.followed=[]}connectedCallback(){super.connectedCallback(),this.unsubscribe=this.deck.subscribe(()=>{let e=this.follows();e&&this.followed.length===e.length&&e.every((t,r)=>t===this.followed[r])||(this.followed=e??[],this.requestUpdate())})}disconnectedCallback(){super.disconnectedCallback(),this.unsubscribe()}follows(){return null}render(){try{return this.view()??h}catch(e){return a`<p role="alert">This part cannot be shown (${String(e)}). The others are not affected.</p>`}}};d([f({attribute:!1})],x.prototype,"deck",2);var xe=s=>s.split("`").map((i,e)=>e%2?a`<code>${i}</code>`:i),$=v`
  * { box-sizing: border-box; }
  :host { display: block; color: var(--text); font-size: 1rem; }
  button, input, select, textarea { font: inherit; color: inherit; }
  button {
    background: var(--raised); border: 1px solid var(--line); border-radius: var(--round); min-height: 2.75rem; padding: 0 0.75rem;
    color: var(--text); cursor: pointer; touch-action: manipulation;
  }
  button:hover { background: var(--lifted); }
  [aria-pressed="true"], [aria-pressed="true"]:hover { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
  a { color: var(--bright); }
  button:disabled { color: var(--off); cursor: default; background: var(--panel); border-style: var(--off-border); }
  button.small { min-height: 1.9rem; padding: 0 0.5rem; font-size: 0.8125rem; }
  @media (pointer: coarse) { button.small { min-height: 2.75rem; } }
  input, select, textarea {
    background: var(--ground); border: 1px solid var(--edge); border-radius: var(--round); min-height: 2.25rem; padding: 0 0.6rem; min-width: 0;
  }
  :focus-visible { outline: 2px solid var(--focus); outline-offset: 1px; }
  h2 { font-size: 0.8125rem; font-weight: 700; color: var(--bright); margin: 0; }
  code { font-family: ui-monospace, monospace; font-size: 0.92em; }
  .dim { color: var(--dim); }
  .figure { font-weight: 700; font-variant-numeric: tabular-nums; }
  .label { font-size: 0.6875rem; color: var(--dim); letter-spacing: 0.02em; }
  .cut { overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
  [role="alert"] { color: var(--amber); padding: 0.75rem; margin: 0; }
  [hidden] { display: none !important; }
  .hidden { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); white-space: nowrap; }
`;var Pr=1e3,$i={error:"✕",warning:"!",information:"i",clear:"✓"},_e=class extends x{constructor(){super(...arguments);this.history=[];this.problem="";this.known="";this.reading=!1;this.wasRead=!1}willUpdate(){if(this.reading)return;let e=(this.deck.state?.alarm_list??[]).map(t=>t.name+t.since+(t.acknowledged_by??"")).join();e===this.known&&this.wasRead||(this.known=e,this.read())}async read(){this.reading=!0;let e=await R("alarms/history");e instanceof _?this.problem=e.sentence:(this.problem="",this.wasRead=!0,this.history=e.history),setTimeout(()=>{this.reading=!1,this.requestUpdate()},Pr)}follows(){return[this.deck.state?.alarm_list,this.deck.verbs]}view(){let e=this.deck.state?.alarm_list??[];return a`
      <section aria-label="Now">
        <h2>Now</h2>
        ${e.length?e.map(t=>this.alarm(t)):a`<p class="calm">Nothing is wrong.</p>`}
      </section>
      <section aria-label="History">
        <h2>History</h2>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${this.wasRead&&!this.history.length?a`<p class="calm">No alarm has been raised so far.</p>`:h}
        <table>
          <tbody>
            ${[...this.history].reverse().slice(0,200).map(t=>a`<tr><td>${t.time.replace("T"," ").slice(0,19)}</td><td aria-label=${t.level}>${$i[t.level]??""}</td><td>${M(t.name)}${t.message?a`: <bdi>${t.message}</bdi>`:h}</td></tr>`)}
          </tbody>
        </table>
      </section>
    `}alarm(e){return a`<article class=${e.level}>
      <header><b>${$i[e.level]} ${M(e.name)}</b><span>${M(e.level)} since ${e.since.replace("T"," ").slice(0,19)}</span></header>
      <p><bdi>${e.message}</bdi></p>
      <p class="dim">${xe(L(e.advice))}</p>
      ${e.acknowledged_by?a`<p class="dim">Seen by <bdi>${e.acknowledged_by}</bdi>.</p>`:this.deck.verb("acknowledge")?a`<button class="small" data-verb="acknowledge" @click=${()=>{this.deck.run("acknowledge",{alarm:e.name})}}>Seen</button>`:h}
    </article>`}};_e.styles=[$,v`
      :host { height: 100%; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.5rem; padding-bottom: 1rem; }
      article { background: var(--raised); border-left: 0.25rem solid var(--edge); padding: 0.6rem 0.75rem; display: grid; gap: 0.25rem; border-radius: 0 var(--round) var(--round) 0; }
      article.warning, article.error { border-color: var(--amber); }
      article header { display: grid; gap: 0.1rem; }
      header b { color: var(--bright); }
      .warning header b, .error header b { color: var(--amber); }
      header span { font-size: 0.75rem; color: var(--dim); white-space: nowrap; }
      article button { justify-self: start; }
      p { margin: 0; font-size: 0.9375rem; }
      .calm { color: var(--dim); padding: 0.75rem 0; }
      table { width: 100%; border-collapse: collapse; font-size: 0.8125rem; }
      td { padding: 0.25rem 0.5rem 0.25rem 0; vertical-align: top; border-bottom: 1px solid var(--line); }
      td:first-child { white-space: nowrap; color: var(--dim); width: 1%; }
      td:nth-child(2) { width: 1.5rem; text-align: center; }
    `],d([g()],_e.prototype,"history",2),d([g()],_e.prototype,"problem",2),_e=d([b("xp-alarms")],_e);var Sr={record:I`<circle cx="12" cy="12" r="7"/>`,stop:I`<rect x="5.5" y="5.5" width="13" height="13"/>`,play:I`<path d="M7 4.5v15L20 12z"/>`,reverse:I`<path d="M17 4.5v15L4 12z"/>`,still:I`<path d="M6 5h4.2v14H6zM13.8 5H18v14h-4.2z"/>`,forward:I`<path d="M2.5 5v14l9.5-7zM12 5v14l9.5-7z"/>`,rewind:I`<path d="M21.500 5v14L12 12zM12 5v14l-9.500-7z"/>`,next:I`<path d="M5 5v14l10.500-7zM16 5h3v14h-3z"/>`,prev:I`<path d="M19 5v14L8.500 12zM5 5h3v14H5z"/>`,step:I`<path d="M9 6v12l8-6z"/>`,back:I`<path d="M15 6v12l-8-6z"/>`},yi=s=>a`<svg viewBox="0 0 24 24" aria-hidden="true">${Sr[s]}</svg>`;var Cr=1e3,ki=s=>["delete","shut_down"].includes(s),wt=class extends Event{constructor(e){super("xp-forms",{bubbles:!0,composed:!0});this.verb=e}},z=class extends A{constructor(){super(...arguments);this.verb="";this.label="";this.icon="";this.hint="";this.lit=!1;this.red=!1;this.pending=!1;this.hold=!1;this.disabled=!1;this.toggle=!1;this.held=0;this.since=0}focus(){this.renderRoot.querySelector("button")?.focus()}press(){this.dispatchEvent(new Event("press",{bubbles:!0,composed:!0}))}get isHeld(){return this.since>0}begin(){if(this.disabled||this.since)return;if(!this.hold)return this.press();this.since=performance.now();let e=()=>{if(this.since){if(this.held=Math.min(1,(performance.now()-this.since)/Cr),this.held<1)return void requestAnimationFrame(e);this.since=0,this.held=0,this.press()}};requestAnimationFrame(e)}end(){this.since&&(this.since=0,this.held=0,this.dispatchEvent(new Event("toobrief",{bubbles:!0,composed:!0})))}down(e){e.button===0&&(this.hold&&e.target.setPointerCapture?.(e.pointerId),this.begin())}keydown(e){e.key!=="Enter"&&e.key!==" "||(e.preventDefault(),e.stopPropagation(),e.repeat||this.begin())}updated(){this.renderRoot.querySelector("i")?.style.setProperty("transform",`scaleX(${this.held})`)}render(){return a`<button
      type="button"
      ?disabled=${this.disabled}
      aria-pressed=${this.toggle?this.lit?"true":"false":h}
      aria-label=${this.hint||this.label}
      aria-busy=${this.pending?"true":"false"}
      title=${this.hint}
      @pointerdown=${this.down}
      @pointerup=${this.end}
      @pointercancel=${this.end}
      @keydown=${this.keydown}
      @keyup=${e=>(e.key==="Enter"||e.key===" ")&&this.end()}
      @blur=${this.end}
      @click=${e=>e.detail===0&&!e.isTrusted&&this.begin()}
    >
      ${this.icon?yi(this.icon):h}<span>${this.label}</span>${this.held>0?a`<i></i>`:h}
    </button>`}};z.styles=[$,v`
      :host { display: block; min-width: 0; }
      button { width: 100%; height: 100%; padding: 0 0.125rem; display: grid; place-content: center; justify-items: center; gap: 0.2rem; position: relative; overflow: hidden;
        border-color: var(--key-edge, transparent); border-top-color: var(--key-edge, var(--lifted)); user-select: none; -webkit-user-select: none; -webkit-touch-callout: none; touch-action: none; }
      svg { width: 1.5rem; height: 1.5rem; fill: currentColor; display: block; }
      span { font-size: 0.75rem; line-height: 1; white-space: nowrap; }
      button:not(:has(svg)) span { font-size: 0.9375rem; font-weight: 700; }
      :host([red]) svg { color: var(--red-text); }
      :host([lit]) button { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
      :host([lit][red]) button { background: var(--red); color: var(--on-red); border-color: var(--red); }
      :host([lit][red]) svg { color: var(--on-red); }
      :host([pending]) button { border: 2px solid var(--bright); }
      i { position: absolute; left: 0; bottom: 0; height: 0.3rem; width: 100%; background: var(--amber); transform-origin: left; }
    `],d([f()],z.prototype,"verb",2),d([f()],z.prototype,"label",2),d([f()],z.prototype,"icon",2),d([f()],z.prototype,"hint",2),d([f({type:Boolean,reflect:!0})],z.prototype,"lit",2),d([f({type:Boolean,reflect:!0})],z.prototype,"red",2),d([f({type:Boolean,reflect:!0})],z.prototype,"pending",2),d([f({type:Boolean})],z.prototype,"hold",2),d([f({type:Boolean})],z.prototype,"disabled",2),d([f({type:Boolean})],z.prototype,"toggle",2),d([g()],z.prototype,"held",2),z=d([b("xp-key")],z);var Rr=2,zr=400,Lr=2e3,Or=4,Ae=new Map,xi=[],It=0;function Ur(s){xi.push(s);let i=()=>{let e=It<Rr?xi.shift():void 0;e&&(It++,e().finally(()=>{It--,i()}))};i()}function Dr(s,i){let[e]=Ae.keys();Ae.size>=zr&&(URL.revokeObjectURL(Ae.get(e)??""),Ae.delete(e));let t=URL.createObjectURL(i);return Ae.set(s,t),t}var Ee=class extends A{constructor(){super(...arguments);this.path="";this.shown="";this.tries=0}willUpdate(e){e.has("path")&&(this.tries=0,this.shown=Ae.get(this.path)??"",this.path&&!this.shown&&this.ask(this.path))}ask(e){Ur(async()=>{if(e!==this.path||!this.isConnected)return;let t=await U("GET",e);if(t instanceof _){++this.tries<Or&&setTimeout(()=>e===this.path&&this.ask(e),Lr);return}let r=Ae.get(e)??Dr(e,await t.blob());e===this.path&&(this.shown=r)})}render(){return this.shown?a`<img alt="" draggable="false" src=${this.shown} @error=${()=>this.shown=""} />`:h}};Ee.styles=v`
    :host { display: block; background: #000; overflow: hidden; }
    img { width: 100%; height: 100%; object-fit: var(--fit, contain); display: block; }
  `,d([f()],Ee.prototype,"path",2),d([g()],Ee.prototype,"shown",2),Ee=d([b("xp-still")],Ee);var Hr=2e3,Ir=404,Q=class extends x{constructor(){super(...arguments);this.clip="";this.source="";this.problem="";this.isMissing=!1;this.isMade=!1;this.timer=0}disconnectedCallback(){super.disconnectedCallback(),clearTimeout(this.timer),this.source.startsWith("blob:")&&URL.revokeObjectURL(this.source)}willUpdate(e){e.has("clip")&&(this.source=this.problem="",this.isMissing=this.isMade=!1,this.clip&&this.look())}get path(){return`clips/${encodeURIComponent(this.clip)}/proxy`}async look(){let{clip:e}=this,t=await U("HEAD",this.path);if(!(e!==this.clip||!this.isConnected)){if(this.isMissing=t instanceof _&&t.status===Ir,this.problem=t instanceof _&&!this.isMissing?t.sentence:"",t instanceof _){this.isMissing&&this.isMade&&(this.timer=window.setTimeout(()=>{this.look()},Hr));return}this.isMade=!1,this.source=ot(this.path)}}async fetchWhole(){if(this.source.startsWith("blob:"))return void(this.problem="This browser cannot show the proxy.");let{clip:e}=this,t=await U("GET",this.path);if(t instanceof _)return void(this.problem=t.sentence);let r=URL.createObjectURL(await t.blob());e===this.clip&&this.isConnected?this.source=r:URL.revokeObjectURL(r)}async make(){this.isMade=(await this.deck.run("export",{clip:this.clip,to:this.clip.replace(/[.][^.]*$/,"")+".mp4",proxy:1})).done,this.isMade&&await this.look()}follows(){return[this.deck.verbs,this.deck.stale]}view(){return this.problem?a`<p role="alert">${this.problem}</p>`:this.source?a`<video controls preload="metadata" src=${this.source} aria-label="Proxy of ${this.clip}" @error=${()=>{this.fetchWhole()}}></video>`:this.isMissing?this.isMade?a`<p role="status">The proxy is being made; it is shown here when it is complete.</p>`:a`<div><p>No proxy of it yet. Watching one here leaves the deck alone.</p>${this.deck.verb("export")?a`<button class="small" data-verb="export" @click=${()=>{this.make()}}>Make a proxy</button>`:h}</div>`:a`<p class="dim">The proxy is looked for.</p>`}};Q.styles=[$,v`
      :host { display: grid; gap: 0.4rem; width: 100%; }
      video { width: 100%; aspect-ratio: 16 / 9; max-height: 40vh; background: #000; display: block; }
      p { margin: 0; font-size: 0.875rem; }
      [role="alert"] { padding: 0; }
      div { display: flex; gap: 0.5rem; align-items: center; }
      div p { flex: 1; }
    `],d([f()],Q.prototype,"clip",2),d([g()],Q.prototype,"source",2),d([g()],Q.prototype,"problem",2),d([g()],Q.prototype,"isMissing",2),d([g()],Q.prototype,"isMade",2),Q=d([b("xp-watch")],Q);function Nr(s){if(!Number.isFinite(s)||s<0)return"-";let i=Math.floor(s),e=Math.floor(i/3600),t=Math.floor(i/60)%60,r=n=>String(n).padStart(2,"0");return e>=1?`${e} h ${r(t)} min`:t>=1?`${t} min ${r(i%60)} s`:`${i} s`}function N(s,i){let e=Math.max(1,Math.round(i||25)),t=Math.max(0,Math.floor(s)),r=o=>String(o).padStart(2,"0"),n=Math.floor(t/e);return`${r(Math.floor(n/3600))}:${r(Math.floor(n/60)%60)}:${r(n%60)}:${r(t%e)}`}function Qe(s){let i=["B","kB","MB","GB","TB"],e=0;for(;s>=1e3&&e<i.length-1;)s/=1e3,++e;return`${s>=100||e===0?s.toFixed(0):s.toFixed(1)} ${i[e]}`}var re=s=>s>0?Nr(s):"-",B=s=>s.replaceAll("_"," ");var qr=120,_i=700,Br=6,jr={index:"as recorded",name:"by name",frames:"by length"},Ei=()=>3.5*parseFloat(getComputedStyle(document.documentElement).fontSize);function Ai(s,i,e){s.style[i]!==e&&(s.style[i]=e)}var O=class extends x{constructor(){super(...arguments);this.clips=[];this.problem="";this.search="";this.order="index";this.falling=!0;this.chosen=new Set;this.top=0;this.tall=400;this.asking="";this.progress="";this.moving=!1;this.rest=0;this.again=0;this.anchor=0;this.at=0;this.known="";this.reading=!1;this.mustReadAgain=!1;this.rowHeight=Ei();this.observer=new ResizeObserver(()=>{this.tall=this.rows?.clientHeight??400,this.rowHeight=Ei()});this.kept={of:[],list:[]};this.scrolled=e=>{let{scrollTop:t}=e.target;Math.abs(t-this.top)>this.rowHeight&&(this.moving=!0),this.top=t,clearTimeout(this.rest),this.rest=window.setTimeout(()=>this.moving=!1,qr)}}connectedCallback(){super.connectedCallback(),this.read()}disconnectedCallback(){super.disconnectedCallback(),this.observer.disconnect()}firstUpdated(){this.observer.observe(this.rows)}async read(){if(this.reading){this.mustReadAgain=!0;return}this.reading=!0;let e=[];for(;;){let r=await R(`clips?offset=${e.length}&limit=1000`);if(r instanceof _){this.problem=r.sentence;break}if(this.problem="",e.push(...r.clips),r.clips.length===0||e.length>=r.total)break}if(this.reading=!1,this.mustReadAgain||this.problem){let r=this.problem?_i:0;this.mustReadAgain=!1,setTimeout(()=>this.isConnected&&void this.read(),r)}if(this.problem)return;this.clips=e,this.compare();let t=new Set(e.map(r=>r.name));[...this.chosen].some(r=>!t.has(r))&&(this.chosen=new Set([...this.chosen].filter(r=>t.has(r))))}compare(){let{state:e}=this.deck,t=e?.media.find(o=>o.path===e.path)?.clips,r=e?.status==="recording"&&!this.clips.some(o=>o.name===e.clip),n=this.clips.length+this.clips.filter(o=>o.proxy).length;t===void 0||t===n&&!r||this.again>=Br||(this.again++,setTimeout(()=>this.isConnected&&void this.read(),_i))}get contents(){let e=this.deck.state;return e?[e.path,e.list_revision,e.status==="recording",e.media.map(t=>t.clips).join()].join():""}willUpdate(){let e=this.contents;e!==this.known&&(this.known=e,this.again=0,this.read())}get sorted(){let e=[this.clips,this.search,this.order,this.falling];return e.every((t,r)=>t===this.kept.of[r])||(this.kept={of:e,list:this.inOrder()}),this.kept.list}inOrder(){let e=this.search.trim().toLowerCase(),t=e?this.clips.filter(n=>n.name.toLowerCase().includes(e)):[...this.clips],r=this.order;return t.sort((n,o)=>r==="name"?n.name<o.name?-1:1:n[r]-o[r]),this.falling?t.reverse():t}choose(e,t,r){let n=t[r].name;if(this.at=r,e.shiftKey){let[o,c]=[Math.min(this.anchor,r),Math.max(this.anchor,r)];this.chosen=new Set(t.slice(o,c+1).map(l=>l.name))}else if(e.ctrlKey||e.metaKey){let o=new Set(this.chosen);o.delete(n)||o.add(n),this.chosen=o,this.anchor=r}else this.chosen=new Set([n]),this.anchor=r}keydown(e,t){let r=t.length,n={ArrowDown:1,ArrowUp:-1,PageDown:10,PageUp:-10,Home:-r,End:r}[e.key];if(e.key==="a"&&(e.ctrlKey||e.metaKey)&&(e.preventDefault(),this.chosen=new Set(t.map(m=>m.name))),e.key==="Enter"&&this.chosen.size&&(e.preventDefault(),e.stopPropagation(),this.open([...this.chosen][0])),n===void 0||!t.length)return;e.preventDefault(),e.stopPropagation();let o=this.chosen.size?this.at:Math.sign(n)<0?r:-1,c=Math.min(r-1,Math.max(0,o+n));(!e.shiftKey||!this.chosen.size)&&(this.anchor=c),this.at=c,this.chosen=new Set(t.slice(Math.min(this.anchor,c),Math.max(this.anchor,c)+1).map(m=>m.name));let l=c*this.rowHeight;l<this.rows.scrollTop&&(this.rows.scrollTop=l),l+this.rowHeight>this.rows.scrollTop+this.tall&&(this.rows.scrollTop=l+this.rowHeight-this.tall)}async each(e,t={}){this.asking="";let r=[...this.chosen];for(let[n,o]of r.entries()){this.progress=`${M(e)}: ${r.length>1?`${n+1} of ${r.length}`:o}`;let c=await this.deck.run(e,{clip:o,...t});if(!c.done)break;e==="verify"&&n===r.length-1&&this.deck.tell({kind:"done",title:M(e),text:r.length>1?`All ${r.length} clips are what was recorded.`:L(c.sentence)})}this.progress="",this.read()}async open(e){await this.deck.run("clip",{name:e})}drag(e,t){this.chosen.has(t)||(this.chosen=new Set([t])),e.dataTransfer?.setData("application/x-xp-clips",JSON.stringify([...this.chosen])),this.dispatchEvent(new CustomEvent("xp-dragclips",{bubbles:!0,composed:!0}))}updated(){let e=this.rowHeight,t=this.renderRoot.querySelector(".room");t&&Ai(t,"height",`${this.sorted.length*e}px`);for(let r of this.renderRoot.querySelectorAll(".row"))Ai(r,"top",`${Number(r.dataset.at)*e}px`)}follows(){return[this.contents,this.deck.state?.clip,this.deck.state?.clip_rate,this.deck.verbs]}view(){let e=this.sorted,t=this.rowHeight,r=Math.max(0,Math.floor(this.top/t)-3),n=Math.min(e.length,r+Math.ceil(this.tall/t)+7),o=Math.max(0,n-r),c=this.chosen.size>0;return a`
      <div class="tools">
        <input type="search" aria-label="Search clips" placeholder="Search ${this.clips.length} ${this.clips.length===1?"clip":"clips"}" .value=${this.search} @input=${l=>this.search=l.target.value} />
        <select aria-label="Sort" @change=${l=>this.order=l.target.value}>
          ${Object.entries(jr).map(([l,m])=>a`<option value=${l} ?selected=${l===this.order}>${m}</option>`)}
        </select>
        <button class="small" aria-label=${this.falling?"Last first":"First first"} title=${this.falling?"Last first":"First first"} @click=${()=>this.falling=!this.falling}>${this.falling?"↓":"↑"}</button>
      </div>
      <div class="rows" role=${e.length?"listbox":"region"} aria-label="Clips" aria-multiselectable=${e.length?"true":h} aria-activedescendant=${c&&this.at>=r&&this.at<n?`clip-${this.at}`:h} tabindex="0" @scroll=${this.scrolled} @keydown=${l=>this.keydown(l,e)}>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${e.length===0&&!this.problem?a`<p class="empty">${this.search?"No clip of this name.":this.deck.state?.status==="recording"?"The first take is being recorded.":"No clips yet. Record one."}</p>`:h}
        ${""}
        <div class="room">${Array.from({length:o},(l,m)=>r+((m-r)%o+o)%o).map(l=>this.row(e[l],l,e))}</div>
      </div>
      <div class="foot"><span class="dim status cut" role="status">${this.progress||(this.chosen.size>1?`${this.chosen.size} chosen`:"")}</span>${this.asking&&c?this.ask():h}${this.acts(e)}</div>
    `}acts(e){let t=this.chosen.size>0,r=this.chosen.size===1,n=t&&e.filter(l=>this.chosen.has(l.name)).every(l=>l.is_protected),o=(l,m,u,p)=>this.deck.verb(l)?a`<button class="small" data-verb=${l} aria-expanded=${m.endsWith("…")?String(this.asking===l):h} title=${this.deck.verb(l)?.help??""} ?disabled=${!u} @click=${p}>${m}</button>`:h,c=l=>()=>this.asking=this.asking===l?"":l;return a`<div class="acts">
      ${o("clip","Open",r,()=>{this.open([...this.chosen][0])})}
      <button class="small" ?disabled=${!t} @click=${()=>this.dispatchEvent(new CustomEvent("xp-add",{detail:[...this.chosen],bubbles:!0,composed:!0}))}>To list</button>
      <button class="small" aria-expanded=${String(this.asking==="watch")} ?disabled=${!r} title="See its proxy in this browser" @click=${c("watch")}>Watch…</button>
      ${o("verify","Verify",t,()=>{this.each("verify")})}
      ${n?o("unprotect","Unprotect",t,()=>{this.each("unprotect")}):o("protect","Protect",t,()=>{this.each("protect")})}
      ${o("copy","Copy…",t,c("copy"))} ${o("rename","Rename…",r,c("rename"))} ${o("delete","Delete…",t&&!n,c("delete"))}
    </div>`}ask(){let[e]=this.chosen,t=this.chosen.size>1?`${this.chosen.size} clips`:e,r=()=>this.renderRoot.querySelector("#asked")?.value??"";switch(this.asking){case"watch":return a`<div class="ask"><xp-watch .deck=${this.deck} clip=${e}></xp-watch></div>`;case"copy":{let n=(this.deck.state?.media??[]).filter(o=>o.path!==this.deck.state?.path);return a`<form class="ask" @submit=${o=>(o.preventDefault(),void this.each("copy",{medium:r()}))}>
          <span class="cut">Copy <bdi>${t}</bdi> to</span>
          <select id="asked" aria-label="Medium">${n.map(o=>a`<option value=${o.path}>${o.label||o.path}</option>`)}</select>
          <button class="small" ?disabled=${!n.length}>Copy</button></form>`}case"rename":return a`<form class="ask" @submit=${n=>(n.preventDefault(),void this.each("rename",{name:r()}))}>
          <input id="asked" aria-label="New name of ${e}" .value=${e.replace(/[.]mov$/,"")} autocomplete="off" spellcheck="false" required />
          <button class="small">Rename</button></form>`;default:return a`<div class="ask"><span class="cut">Delete <bdi>${t}</bdi> for good?</span>
          <xp-key verb="delete" label="Hold to delete" hint="Hold to delete" hold @press=${()=>{this.each("delete")}} @toobrief=${()=>this.progress="Hold it for a second"}></xp-key></div>`}}row(e,t,r){let n=e.name===this.deck.state?.clip;return a`<div class="row ${n?"current":""}" id="clip-${t}" role="option" aria-selected=${this.chosen.has(e.name)?"true":"false"} aria-setsize=${r.length} aria-posinset=${t+1}
      data-at=${t} draggable="true" title=${e.name} @click=${o=>this.choose(o,r,t)} @dblclick=${()=>{this.open(e.name)}}
      @dragstart=${o=>this.drag(o,e.name)}>
      <xp-still path=${this.moving?"":`clips/${encodeURIComponent(e.name)}/thumbnail`}></xp-still>
      <div class="cut">
        <div class="name cut"><bdi>${e.name}</bdi></div>
        <div class="sub"><span class="narrow">${e.grows?h:N(e.frames,this.deck.state?.clip_rate??25)}</span><span class="wide">${e.bytes&&!e.grows?Qe(e.bytes):h}</span>${e.is_protected?a`<span>protected</span>`:h}${e.proxy?a`<span>with proxy</span>`:h}${e.second_copy?a`<span>${e.second_copy.frames===e.frames?"also":`${e.second_copy.frames} frames`} on ${e.second_copy.path}</span>`:h}${e.grows?a`<span>● being recorded</span>`:h}${n?a`<span>on the deck</span>`:h}</div>
      </div>
      <div class="frames figure">${e.grows?h:N(e.frames,this.deck.state?.clip_rate??25)}</div>
    </div>`}};O.styles=[$,v`
      :host { display: grid; grid-template-rows: auto minmax(8rem, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto auto; gap: 0.25rem; }
      .rows { overflow-y: auto; position: relative; border-radius: var(--round); scrollbar-color: var(--edge) transparent; min-height: 0; }
      .room { position: relative; }
      .row { position: absolute; left: 0; right: 0; height: 3.5rem; display: grid; grid-template-columns: 5rem minmax(0, 1fr) auto; gap: 0.6rem; align-items: center; padding: 0 0.5rem 0 0.25rem; border-bottom: 1px solid var(--line); cursor: default; }
      .row[aria-selected="true"] { background: var(--lifted); }
      .row.current { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      xp-still { width: 5rem; height: 2.8125rem; border-radius: 2px; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .sub { font-size: 0.75rem; color: var(--dim); display: flex; gap: 0.75rem; }
      .frames { font-size: 0.875rem; }
      .narrow { display: none; }
      @media (max-width: 759px) { .narrow { display: inline; } .frames { display: none; } .sub .wide { display: none; } .row { grid-template-columns: 5rem minmax(0, 1fr); } }
      .acts, .ask { display: flex; flex-wrap: wrap; gap: 0.25rem; align-items: center; min-height: 2rem; }
      .acts { display: grid; grid-template-columns: repeat(4, 1fr); }
      .status { font-size: 0.8125rem; }
      .status:empty { display: none; }
      .foot { display: grid; gap: 0.25rem; }
      .ask { background: var(--ground); border: 1px solid var(--line); border-radius: var(--round); padding: 0.35rem 0.5rem; gap: 0.5rem; font-size: 0.875rem; }
      .ask > :first-child { flex: 1 1 8rem; min-width: 0; }
      .ask xp-key { width: 7.5rem; min-height: 2.25rem; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],d([g()],O.prototype,"clips",2),d([g()],O.prototype,"problem",2),d([g()],O.prototype,"search",2),d([g()],O.prototype,"order",2),d([g()],O.prototype,"falling",2),d([g()],O.prototype,"chosen",2),d([g()],O.prototype,"top",2),d([g()],O.prototype,"tall",2),d([g()],O.prototype,"asking",2),d([g()],O.prototype,"progress",2),d([g()],O.prototype,"moving",2),d([T(".rows")],O.prototype,"rows",2),O=d([b("xp-clips")],O);var Me=class extends x{constructor(){super(...arguments);this.problem="";this.other=!1}follows(){return[this.deck.me]}view(){let{me:e}=this.deck,t=["nobody","view"].includes(e.role),r=a`
      <form @submit=${this.logIn}><input name="name" aria-label="Account" placeholder="Account" autocomplete="username" /><input name="password" type="password" aria-label="Password" placeholder="Password" autocomplete="current-password" /><button>Log in</button></form>
      <form class="one" @submit=${this.use}><input name="token" type="password" aria-label="Token" placeholder="Token, from /run/xp/panel.token" autocomplete="off" /><button>Use</button></form>`;return a`
      <div class="who"><p>${this.told(e.name,e.role)}</p>${t?h:a`<button class="small" aria-expanded=${String(this.other)} @click=${()=>this.other=!this.other}>Be somebody else</button>`}</div>
      ${t||this.other?r:h}
      ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
    `}told(e,t){return t==="nobody"?"This panel shows nothing to strangers. Log in:":t==="view"?e?a`<b><bdi>${e}</bdi></b> may look. Another account, or the machine's token, lets you operate:`:"You may look. An account, or the machine's token, lets you operate:":a`<b><bdi>${e}</bdi></b> may ${t==="engineer"?"operate and change settings":"operate"}.`}field(e){return this.renderRoot.querySelector(`[name="${e}"]`)?.value??""}async logIn(e){e.preventDefault(),qe("");let t=await U("POST","login",{name:this.field("name"),password:this.field("password")});t instanceof _?this.problem=`${t.sentence} ${t.hint}`:this.become((await t.json()).token)}use(e){e.preventDefault(),this.field("token")&&this.become(this.field("token").trim())}become(e){this.problem="",qe(e),this.deck.reconnect()}};Me.styles=[$,v`
      :host { display: grid; gap: 0.5rem; }
      form { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr) auto; gap: 0.25rem; }
      form.one { grid-template-columns: minmax(0, 1fr) auto; }
      form + form { margin-top: 0.25rem; }
      .who button { white-space: nowrap; }
      .who { display: flex; gap: 0.75rem; align-items: center; justify-content: space-between; }
      p { margin: 0; font-size: 0.9375rem; }
      [role="alert"] { padding: 0; }
    `],d([g()],Me.prototype,"problem",2),d([g()],Me.prototype,"other",2),Me=d([b("xp-login")],Me);var Xe=class extends x{theme(i){document.documentElement.dataset.theme=i,localStorage.setItem("xp-theme",i),this.requestUpdate()}follows(){let{state:i}=this.deck;return[i?.owner,i?.lock,i?.mode,i?.running,this.deck.verbs,this.deck.stale,this.deck.me]}view(){let{state:i}=this.deck,e=document.documentElement.dataset.theme??"dark";return a`
      <section>
        <h2>Who is in control</h2>
        <p>${this.owner()}${i?.lock?.name?a` Locked by <bdi>${i.lock.name}</bdi>: only that session moves the transport.`:h}</p>
        <div class="acts">${this.act("take_control",!!i?.owner?.name)}${this.act("release_control",void 0,!!i?.owner?.name)}</div>
        <div class="acts">${this.act("lock",!!i?.lock?.name)}${this.act("unlock",void 0,!!i?.lock?.name)}${this.act("remote",i?.mode!=="local")}${this.act("local",i?.mode==="local")}</div>
        ${i?.mode==="local"?a`<p class="dim">Only who sits at the machine moves the transport.</p>`:h}
      </section>
      <section>
        <h2>This session</h2>
        <xp-login .deck=${this.deck}></xp-login>
      </section>
      <section>
        <h2>Look</h2>
        <div class="acts">
          ${["dark","contrast"].map(t=>a`<button aria-pressed=${e===t?"true":"false"} @click=${()=>this.theme(t)}>${t==="dark"?"Dark":"High contrast"}</button>`)}
        </div>
        <div class="acts">
          <button title="Picture and timecode for a wall (F)" @click=${()=>location.hash="#/kiosk"}>Picture alone</button>
          <button @click=${()=>location.assign(`${location.pathname}#/wall`)}>All recorders</button>
          <button title="What each key does, and what each verb is called over HTTP, in lines, OSC and the shell (?)" @click=${()=>this.dispatchEvent(new wt(""))}>Keys and verbs</button>
        </div>
      </section>
      ${this.deck.verb("shut_down")?a`<section>
            <h2>The recorder</h2>
            <xp-key verb="shut_down" label="Hold to shut down" hint=${`Hold to shut down: ${this.deck.verb("shut_down")?.help??""}`} hold ?disabled=${this.deck.stale||!i?.running}
              @press=${()=>{this.deck.run("shut_down")}} @toobrief=${()=>this.deck.tell({kind:"lost",title:"Still running",text:"To shut the recorder down, hold the key for a second."})}></xp-key>
          </section>`:h}
    `}owner(){let i=this.deck.state?.owner;if(!i?.name)return"Nobody has taken control: everybody may operate.";let e=[i.front,i.address].filter(Boolean).join(", ");return a`<b><bdi>${i.name}</bdi></b>${e?` (${e})`:""} is in control.`}act(i,e,t=!0){let r=this.deck.verb(i);return r?a`<button data-verb=${i} title=${r.help} aria-pressed=${e===void 0?h:String(e)} ?disabled=${this.deck.stale||!t} @click=${()=>{this.deck.run(i)}}>${M(i)}</button>`:h}};Xe.styles=[$,v`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 0.75rem; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.4rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      .acts + .acts { margin-top: -0.25rem; }
      .acts > * { flex: 1 1 0; white-space: nowrap; }
      p { margin: 0; font-size: 0.9375rem; }
      xp-key { min-height: 2.75rem; }
    `],Xe=d([b("xp-control")],Xe);function Fr(s){let[,i,e]=/\[([^\]]*?)-([^\]]*?)\)$/.exec(s)??[];return i===void 0&&e===void 0?h:a`<div class="sub cut">from ${i||"its begin"} to ${e?`before ${e}`:"its end"}</div>`}var se=class extends x{constructor(){super(...arguments);this.entries=[];this.problem="";this.chosen=-1;this.over=-1;this.revision="";this.known=null}willUpdate(){let e=this.deck.state?.list_revision??"";e!==this.known&&(this.known=e,this.read())}async read(){let e=await U("GET","list");if(e instanceof _){this.problem=e.sentence;return}this.revision=e.headers.get("ETag")??"",this.entries=(await e.json()).list,this.problem=""}async add(e,t=this.entries.length){let r=this.entries.map(n=>n.name);r.splice(t,0,...e),await this.write(r)}async write(e){let t=await U("PUT","list",{list:e},this.revision?{"If-Match":this.revision}:{});if(t instanceof _){let r=t.status===412;this.deck.tell({kind:"refused",title:"Play list",text:r?"Somebody else has changed the list meanwhile; here it is as it is now.":`${t.sentence} ${t.hint}`})}await this.read()}async move(e,t){if(e<0||t<0||t>this.entries.length-1||e===t)return;let r=this.entries.map(n=>n.name);r.splice(t,0,...r.splice(e,1)),this.chosen=t,await this.write(r)}drop(e,t){e.preventDefault(),e.stopPropagation(),this.over=-1;let r=e.dataTransfer?.getData("application/x-xp-clips"),n=e.dataTransfer?.getData("application/x-xp-place");r?this.add(JSON.parse(r),t):n&&this.move(Number(n),Number(n)<t?t-1:t)}async choose(e){let t=await this.deck.set("playback_source",e);t.done||this.deck.tell({kind:"refused",title:"What is played",text:ce(t)})}hover(e,t){e.preventDefault(),e.stopPropagation(),this.over=t}keydown(e){let t={ArrowDown:1,ArrowUp:-1}[e.key];t!==void 0?(e.preventDefault(),e.stopPropagation(),e.altKey?this.move(this.chosen,this.chosen+t):this.chosen=Math.min(this.entries.length-1,Math.max(0,this.chosen+t))):e.key==="Delete"&&this.takeOut()}async takeOut(){this.chosen<0||(await this.write(this.entries.filter((e,t)=>t!==this.chosen).map(e=>e.name)),this.chosen=Math.min(this.chosen,this.entries.length-1))}follows(){return[this.deck.state?.list_revision,this.deck.state?.list_entry,this.deck.state?.playback_source,this.deck.parameters]}view(){let e=this.deck.parameters.get("playback_source"),t=this.deck.state?.playback_source??e?.value;return a`
      <div class="acts" role="group" aria-label="What is played"><span class="label">Play plays</span>
        ${(e?.choices??[]).map(r=>a`<button class="small" aria-pressed=${r===t?"true":"false"} @click=${()=>{this.choose(r)}}>${M(r)}</button>`)}
      </div>
      <div class="rows ${this.over===this.entries.length?"over":""}" role=${this.entries.length?"listbox":"region"} aria-label="Play list" tabindex="0" @keydown=${this.keydown}
        @dragover=${r=>this.hover(r,this.entries.length)} @dragleave=${()=>this.over=-1} @drop=${r=>this.drop(r,this.entries.length)}>
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${this.entries.length===0?a`<p class="empty">The list is empty. Drag clips here, or choose some under Clips and press To list.</p>`:h}
        ${this.entries.map((r,n)=>a`<div role="option" class="${this.over===n?"over":""} ${n===this.deck.state?.list_entry?"current":""}" aria-selected=${n===this.chosen?"true":"false"} draggable="true" title=${r.name}
            @click=${()=>this.chosen=n} @dblclick=${()=>{this.deck.run("clip",{name:r.name})}} @dragstart=${o=>o.dataTransfer?.setData("application/x-xp-place",String(n))}
            @dragover=${o=>this.hover(o,n)} @drop=${o=>this.drop(o,n)}>
            <span class="place figure">${n+1}</span><xp-still path="clips/${encodeURIComponent(Ze(r.name))}/thumbnail"></xp-still><div class="cut"><div class="name cut"><bdi>${Ze(r.name)}</bdi></div>${Fr(r.name)}</div>${r.present?h:a`<span class="missing">! not here</span>`}
          </div>`)}
      </div>
      <div class="acts">
        <button class="small" ?disabled=${this.chosen<1} @click=${()=>{this.move(this.chosen,this.chosen-1)}}>Up</button>
        <button class="small" ?disabled=${this.chosen<0||this.chosen>=this.entries.length-1} @click=${()=>{this.move(this.chosen,this.chosen+1)}}>Down</button>
        <button class="small" ?disabled=${this.chosen<0} @click=${()=>{this.takeOut()}}>Take out</button>
      </div>
    `}};se.styles=[$,v`
      :host { display: grid; grid-template-rows: auto minmax(8rem, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .rows { overflow-y: auto; margin: 0; padding: 0; list-style: none; min-height: 0; border-radius: var(--round); }
      .rows.over { outline: 2px dashed var(--edge); outline-offset: -2px; }
      [role="option"] { display: grid; grid-template-columns: 2rem 4rem minmax(0, 1fr) auto; gap: 0.6rem; align-items: center; min-height: 3rem; padding: 0 0.5rem 0 0; border-bottom: 1px solid var(--line); border-top: 2px solid transparent; }
      [role="option"][aria-selected="true"] { background: var(--lifted); }
      .current { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      [role="option"].over { border-top-color: var(--bright); }
      .place { color: var(--dim); text-align: right; font-size: 0.8125rem; }
      xp-still { width: 4rem; height: 2.25rem; border-radius: 2px; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .missing { color: var(--amber); font-size: 0.8125rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; align-items: center; }
      .acts .label { padding-right: 0.35rem; }
      .sub { font-size: 0.75rem; color: var(--dim); }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],d([g()],se.prototype,"entries",2),d([g()],se.prototype,"problem",2),d([g()],se.prototype,"chosen",2),d([g()],se.prototype,"over",2),se=d([b("xp-list")],se);var Kr=3e3,Nt="-",Re=class extends x{constructor(){super(...arguments);this.lines=[];this.timer=0}connectedCallback(){super.connectedCallback(),this.read(),this.timer=window.setInterval(()=>document.hidden||void this.read(),Kr)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}async read(){let e=await R("params/record_schedule");e instanceof _||(this.lines=e.value.split(`
`).filter(Boolean))}async plan(e){e.preventDefault();let t=e.target,r=Object.fromEntries([...new FormData(t)].filter(([,n])=>n!==""));(await this.deck.run("schedule",r)).done&&t.reset(),await this.read()}async takeOut(e){await this.deck.run("unschedule",{number:Number(e)}),await this.read()}follows(){return[this.deck.verbs,this.deck.stale,this.deck.state?.status]}view(){let e=this.deck.verb("schedule");if(!e)return h;let t=this.lines.map(r=>Vr(r,this.deck.zone));return a`
      <h2>Takes to come</h2>
      ${t.map(r=>a`<div class="take"><span><span class="figure">${r.from}</span> ${r.until?a`to <span class="figure">${r.until}</span>`:"until somebody stops it"}${r.runs?", is being recorded":""}</span>
          <button class="small" data-verb="unschedule" aria-label="Take number ${r.number} out of the schedule" @click=${()=>{this.takeOut(r.number)}}>Take out</button></div>`)}
      ${t.length?h:a`<p class="dim">None is planned.</p>`}
      <form data-verb="schedule" @submit=${this.plan}>
        ${e.arguments.map((r,n)=>a`<label title=${L(r.help)}>${["From","Until"][n]??r.name}<input name=${r.name} autocomplete="off" spellcheck="false" maxlength="40" placeholder=${["10:00:00","10:30:00"][n]??h} /></label>`)}
        <button title=${L(e.help)} ?disabled=${this.deck.stale}>Plan take</button>
      </form>
    `}};Re.styles=[$,v`
      :host { display: grid; gap: 0.4rem; border-top: 1px solid var(--line); padding-top: 0.6rem; margin-top: 0.25rem; }
      .take { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0.75rem; align-items: center; border-bottom: 1px solid var(--line); padding: 0.2rem 0; }
      .take .figure { color: var(--bright); }
      form { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr) auto; gap: 0.25rem 0.5rem; align-items: end; }
      label { display: grid; gap: 0.15rem; font-size: 0.75rem; color: var(--dim); }
      label input { font-size: 1rem; color: var(--text); min-height: 2.75rem; }
      p { margin: 0; font-size: 0.875rem; }
    `],d([g()],Re.prototype,"lines",2),Re=d([b("xp-schedule")],Re);function Vr(s,i){let[e,t,r,n,o,c]=s.split(" "),l=Mi(t,n,i),m=r===Nt||!r?"":Mi(r,o,i),u=l.slice(0,10)===m.slice(0,10);return{number:e,from:l,until:u?m.slice(11):m,runs:!!c&&c!==Nt}}function Mi(s,i,e){let[t,r]=Wr(new Date(s),e).split(" "),n=/[.](\d*?)0*Z$/.exec(s)?.[1]??"";return`${t} ${i&&i!==Nt?i:r+(n&&`.${n}`)}`}function Wr(s,i){let e={dateStyle:"short",timeStyle:"medium"};try{return s.toLocaleString("sv-SE",{...e,timeZone:i||void 0})}catch{return s.toLocaleString("sv-SE",e)}}var Ti=600,et=class extends x{updated(){let i=this.deck.state?.media??[];this.renderRoot.querySelectorAll(".bar i").forEach((e,t)=>e.style.setProperty("transform",`scaleX(${1-(i[t]?.percent_free??0)/100})`))}follows(){return[this.deck.state?.status,this.deck.state?.media,this.deck.state?.medium_seconds_left,this.deck.parameters]}view(){let i=this.deck.state,e=i?.media??[],t=i?.medium_seconds_left??0,r=e.find(l=>l.state==="next"),n=e.find(l=>l.state==="active"),o=e.find(l=>l.state==="mirror"),c=this.deck.parameters.get("rollover_enabled")?.value!=="off";return a`
      <div class="sum"><span>${P(i)?"This take can go on for":"A take that begins now can last"}</span><span class="figure ${t>0&&t<Ti?"warn":""}">${re(t)}</span></div>
      ${e.map(l=>this.medium(l))}
      ${e.length===0?a`<p role="alert">No medium: nothing can be recorded.</p>`:h}
      <p class="dim">${o?a`Takes are written to <b>${n?.label||n?.path}</b> and <b>${o.label||o.path}</b> at once. <a href="#/settings/mirror_media_path">Change it</a>`:r&&c?a`When the active medium is full, a take goes on on <b>${r.label||r.path}</b>.`:r?a`Rollover is off: a take ends when the active medium is full. <a href="#/settings/rollover_enabled">Change it</a>`:"No medium comes next: a take ends when the active one is full."}</p>
      <xp-schedule .deck=${this.deck}></xp-schedule>
    `}medium(i){let e=i.seconds_left>0&&i.seconds_left<Ti&&i.state!=="read_only";return a`<article class=${i.state}>
      <header><b><bdi>${i.label||i.path}</bdi></b><span>${B(i.state)}</span><span class="figure ${e?"warn":""}">${re(i.seconds_left)}</span></header>
      <div class="bar ${e?"warn":""}" role="img" aria-label="${(100-i.percent_free).toFixed(0)} percent used"><i></i></div>
      <div class="sub"><span>${Qe(i.bytes_free)} free of ${Qe(i.bytes_total)}</span><span>${i.clips} clips</span><span><bdi>${i.path}</bdi></span></div>
    </article>`}};et.styles=[$,v`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 0.5rem; scrollbar-color: var(--edge) transparent; }
      .sum { display: flex; justify-content: space-between; align-items: baseline; padding: 0 0 0.25rem; }
      .sum { gap: 0.75rem; }
      .sum .figure { white-space: nowrap; font-size: 1.5rem; color: var(--bright); }
      .warn, .warn.figure { color: var(--amber) !important; }
      article { background: var(--raised); border-radius: var(--round); padding: 0.5rem 0.75rem; display: grid; gap: 0.4rem; }
      article.active { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      header { display: flex; gap: 0.75rem; align-items: baseline; }
      header b { color: var(--bright); font-size: 1.125rem; }
      header .figure { margin-left: auto; font-size: 1.125rem; color: var(--bright); }
      .bar { height: 0.5rem; background: var(--ground); position: relative; }
      .bar i { position: absolute; inset: 0; background: var(--text); transform-origin: left; }
      .bar.warn i { background: var(--amber); }
      p { margin: 0; font-size: 0.875rem; }
      .sub { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; font-size: 0.8125rem; color: var(--dim); }
    `],et=d([b("xp-media")],et);var Gr=480,qt=-48,Jr=-9,Yr=1500,Zr=429,Qr=8,he=class extends A{constructor(){super(...arguments);this.clip="";this.frames=0;this.peaks=[];this.tries=0;this.observer=new ResizeObserver(()=>this.draw())}connectedCallback(){super.connectedCallback(),this.observer.observe(this)}disconnectedCallback(){super.disconnectedCallback(),this.observer.disconnect()}willUpdate(e){e.has("clip")&&(this.peaks=[]),this.tries=0,this.clip&&this.frames>0&&this.ask()}updated(){this.draw()}async ask(){let{clip:e,frames:t}=this,r=await R(`clips/${encodeURIComponent(e)}/waveform?columns=${Gr}`);if(!(e!==this.clip||t!==this.frames||!this.isConnected)){if(r instanceof _){r.status===Zr&&++this.tries<Qr&&setTimeout(()=>{this.ask()},Yr);return}this.peaks=r.peaks,this.draw()}}draw(){let e=this.canvas?.getContext("2d");if(!e||!this.clientWidth)return;let t=devicePixelRatio,r=Math.round(this.clientWidth*t),n=Math.round(this.clientHeight*t);(this.canvas.width!==r||this.canvas.height!==n)&&([this.canvas.width,this.canvas.height]=[r,n]),e.clearRect(0,0,r,n);let o=getComputedStyle(this),[c,l,m]=["--text","--amber","--line"].map(p=>o.getPropertyValue(p)),u=n/2;e.fillStyle=m,e.fillRect(0,Math.round(u),r,Math.max(1,Math.round(t))),this.peaks.forEach((p,y)=>{let k=p>0?20*Math.log10(p):qt;if(k<=qt)return;let w=Math.max(t/2,(1-k/qt)*(u-t)),E=Math.round(y*r/this.peaks.length),S=Math.round((y+1)*r/this.peaks.length);e.fillStyle=k>Jr?l:c,e.fillRect(E,u-w,Math.max(1,S-E),2*w)})}render(){return a`<canvas role="img" aria-label="Sound of the clip"></canvas>`}};he.styles=v`
    :host { display: block; position: relative; background: var(--ground); }
    canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
  `,d([f()],he.prototype,"clip",2),d([f({type:Number})],he.prototype,"frames",2),d([T("canvas")],he.prototype,"canvas",2),he=d([b("xp-sound")],he);var Pi=8,tt=class extends Event{constructor(e,t){super("xp-strip");this.what=e;this.frame=t}},j=class extends A{constructor(){super(...arguments);this.clip="";this.frames=1;this.frame=0;this.marks={};this.disabled=!1;this.moved=null;this.scrubbing=!1;this.pictured=0}get length(){return Math.max(1,this.frames)}at(e){let t=this.strip.getBoundingClientRect();return Math.min(1,Math.max(0,(e.clientX-t.left)/t.width))*this.length}down(e){this.disabled||e.button!==0||(this.strip.setPointerCapture(e.pointerId),this.scrubbing=!0,this.move(e))}move(e){let t=this.at(e);this.moved?this.moved={what:this.moved.what,frame:this.bounded(this.moved.what,Math.round(t))}:this.scrubbing&&this.dispatchEvent(new tt("cue",Math.min(this.length-1,Math.floor(t))))}up(){let{moved:e}=this;this.scrubbing=!1,this.moved=null,e&&this.dispatchEvent(new tt(e.what,e.frame))}grip(e,t){e.stopPropagation(),!(this.disabled||e.button!==0)&&(this.strip.setPointerCapture(e.pointerId),this.moved={what:t,frame:this.place(t)})}place(e){return this.moved?.what===e?this.moved.frame:(e==="in"?this.marks.in?.frame:this.marks.out?.frame)??(e==="in"?0:this.length)}bounded(e,t){return e==="in"?Math.min(Math.max(0,t),this.place("out")-1):Math.max(Math.min(this.length,t),this.place("in")+1)}keydown(e,t){let r={ArrowRight:1,ArrowUp:1,ArrowLeft:-1,ArrowDown:-1}[e.key];r===void 0||this.disabled||(e.preventDefault(),e.stopPropagation(),this.dispatchEvent(new tt(t,this.bounded(t,this.place(t)+r*(e.shiftKey?10:1)))))}willUpdate(){(this.frames<this.pictured||this.frames>this.pictured*1.2)&&(this.pictured=this.frames)}updated(){let e=c=>`${100*Math.min(c,this.length)/this.length}%`,t=(c,l,m="")=>{let u=this.renderRoot.querySelector(c);u?.style.setProperty("left",l),m&&u?.style.setProperty("right",m)},[r,n]=[this.place("in"),this.place("out")],o=c=>`${100-100*Math.min(c,this.length)/this.length}%`;t(".out.before","0",o(r)),t(".out.after",e(n),"0"),t(".part",e(r),o(n)),t(".end.in",e(r)),t(".end.to",e(n)),t(".head",e(this.frame+.5)),this.renderRoot.querySelectorAll(".point").forEach((c,l)=>c.style.setProperty("left",e((this.marks.points?.[l]?.frame??0)+.5)))}render(){let e=encodeURIComponent(this.clip),t=this.marks.in||this.marks.out||this.moved;return a`<div class="strip" @pointerdown=${this.down} @pointermove=${this.move} @pointerup=${this.up} @pointercancel=${this.up}>
      <div class="pictures" aria-hidden="true">
        ${this.clip&&this.frames>0?Array.from({length:Pi},(r,n)=>a`<xp-still path="clips/${e}/frames/${Math.floor((n+.5)*this.pictured/Pi)}"></xp-still>`):h}
      </div>
      <xp-sound clip=${this.clip} .frames=${this.pictured}></xp-sound>
      <div class="out before"></div>
      <div class="out after"></div>
      <div class="part" ?hidden=${!t}></div>
      ${(this.marks.points??[]).map(r=>a`<div class="point" title=${r.name}></div>`)}
      ${["in","out"].map(r=>a`<div class="end ${r==="in"?"in":"to"}" role="slider" tabindex="0" data-verb="mark" aria-label=${r==="in"?"In":"Out"} aria-disabled=${this.disabled?"true":"false"}
          aria-valuemin="0" aria-valuemax=${this.length} aria-valuenow=${this.place(r)} @pointerdown=${n=>this.grip(n,r)} @keydown=${n=>this.keydown(n,r)}></div>`)}
      <div class="head" ?hidden=${this.frame<0}></div>
    </div>`}};j.styles=[$,v`
      :host { padding: 0 0.6rem; }
      .strip { position: relative; height: 6.5rem; background: var(--ground); cursor: pointer; touch-action: none; box-shadow: var(--rim); }
      .pictures { position: absolute; inset: 0 0 2rem; display: grid; grid-auto-flow: column; grid-auto-columns: minmax(0, 1fr); }
      xp-still { border-right: 1px solid var(--ground); --fit: cover; }
      xp-sound { position: absolute; inset: auto 0 0; height: 2rem; }
      .out { position: absolute; top: 0; bottom: 0; background: rgb(0 0 0 / 0.72); }
      .part { position: absolute; top: 0; bottom: 0; border-block: 0.1875rem solid var(--bright); pointer-events: none; }
      .end { position: absolute; top: -0.25rem; bottom: -0.25rem; width: 2.75rem; margin-left: -1.375rem; cursor: ew-resize; touch-action: none; }
      .end::after { content: ""; position: absolute; top: 0; bottom: 0; left: 50%; width: 0.5rem; background: var(--bright); border-radius: 0.125rem; }
      .end.in::after { margin-left: -0.5rem; }
      .point { position: absolute; top: 0; width: 0; border: 0.4rem solid transparent; border-top: 0.6rem solid var(--bright); margin-left: -0.4rem; pointer-events: none; filter: drop-shadow(0 0 1px #000); }
      .head { position: absolute; top: -0.25rem; bottom: -0.25rem; width: 0.125rem; margin-left: -0.0625rem; background: var(--bright); outline: 1px solid #000; pointer-events: none; }
    `],d([f()],j.prototype,"clip",2),d([f({type:Number})],j.prototype,"frames",2),d([f({type:Number})],j.prototype,"frame",2),d([f({attribute:!1})],j.prototype,"marks",2),d([f({type:Boolean})],j.prototype,"disabled",2),d([T(".strip")],j.prototype,"strip",2),d([g()],j.prototype,"moved",2),j=d([b("xp-strip")],j);var Xr=[["−1×",-1],["¼×",.25],["½×",.5],["1×",1]],pe=class extends x{constructor(){super(...arguments);this.details={};this.problem="";this.angles=[];this.known="";this.wanted=null;this.cueing=!1;this.drag=e=>{e.dataTransfer?.setData("application/x-xp-clips",JSON.stringify([this.listed])),this.dispatchEvent(new CustomEvent("xp-dragclips",{bubbles:!0,composed:!0}))}}willUpdate(){let{state:e}=this.deck,t=[this.clip,e?.path,e?.status==="recording",e?.marks_changed?.count].join(`
`);t!==this.known&&(this.known=t,this.read())}async read(){let{clip:e}=this;if(!e)return;let[t,r]=await Promise.all([R(`clips/${encodeURIComponent(e)}`),R("clips?limit=1000")]);e===this.clip&&(this.problem=t instanceof _?t.sentence:t.told??"",this.details=t instanceof _?{}:t,r instanceof _||(this.angles=r.clips.map(n=>n.name).filter(n=>n!==e)))}async run(e,t={}){await this.deck.run(e,t),(e==="mark"||e==="unmark")&&await this.read()}cue(e){this.wanted=e,!this.cueing&&(this.cueing=!0,(async()=>{for(;this.wanted!==null;){let t=String(this.wanted);this.wanted=null,(await this.deck.run("cue",{where:t})).done||(this.wanted=null)}this.cueing=!1})())}moved(e){e.what!=="cue"?this.run("mark",{what:e.what,where:String(e.frame)}):this.whole&&this.cue(e.frame)}markPoint(){let e=new Set((this.details.marks?.points??[]).map(r=>r.name)),t=1;for(;e.has(`point ${t}`);)t++;this.run("mark",{what:`point ${t}`})}async rename(e,t){let r=t.trim();!r||r===e.name||(await this.deck.run("mark",{what:r,where:String(e.frame)})).done&&await this.run("unmark",{what:e.name??""})}get clip(){return Ze(this.deck.state?.clip??"")}get frames(){let{state:e}=this.deck;return this.whole&&e?.clip_frames||this.details.frames||0}get whole(){let{state:e}=this.deck;return e?.playback_source==="current_clip"&&e.clip===this.clip&&e.status!=="recording"}get listed(){let{in:e,out:t}=this.details.marks??{};return`${this.clip}[${e?.frame??0}-${t?.frame??this.frames})`}follows(){let{state:e}=this.deck;return[e?.clip,e?.frame,e?.clip_frames,e?.status,e?.live_distance,e?.grows,e?.playback_source,e?.marks_changed,this.deck.stale,this.deck.verbs]}view(){let{state:e}=this.deck,t=this.details.marks??{},r=this.deck.stale||!e?.running||!e.clip,n=e?.clip_rate??25,{in:o,out:c}=t,l=!!o||!!c,m=(c?.frame??this.frames)-(o?.frame??0),u=e?.live_distance??-1;return a`
      <div class="head"><span class="cut"><bdi>${e?.clip||"No clip"}</bdi></span>
        ${e?.grows?a`<span class="dim figure">${u>=0?`${(u/n).toFixed(1)} s behind`:"being recorded"}</span>`:h}
        ${this.deck.verb("live")?a`<button data-verb="live" title=${this.deck.verb("live")?.help??""} aria-pressed=${e?.grows&&u>=0&&u<1.5*n?"true":"false"} ?disabled=${this.deck.stale||!e?.running} @click=${()=>{this.run("live")}}>Live</button>`:h}
      </div>
      <xp-strip clip=${this.clip} .frames=${this.frames} .frame=${this.whole?ke(e):-1} .marks=${t} ?disabled=${r} @xp-strip=${p=>this.moved(p)}></xp-strip>
      <div class="ends">
        ${this.end("in","Mark in",o,r)}
        <span><span class="label">Part</span><br /><span class="figure">${N(Math.max(0,m),n)}</span></span>
        ${this.end("out","Mark out",c,r)}
      </div>
      <div class="acts" role="group" aria-label="Replay">
        <span class="label">Replay</span>
        ${Xr.map(([p,y])=>a`<button data-verb="replay" title=${this.deck.verb("replay")?.help??""} ?disabled=${r||!l} @click=${()=>{this.run("replay",{speed:y})}}>${p}<span class="hidden"> replay</span></button>`)}
        <button class="part" draggable=${l?"true":"false"} ?disabled=${r||!l} title="Drag it into the list, or press: it is added at the end" @click=${()=>this.dispatchEvent(new CustomEvent("xp-add",{detail:[this.listed],bubbles:!0,composed:!0}))} @dragstart=${this.drag}>Part to list</button>
      </div>
      <div class="rows" role="region" tabindex="0" aria-label="Points">
        ${e?.playback_source&&e.playback_source!=="current_clip"?a`<p class="dim">A list is played. Replay and live play one clip: choose <a href="#/list">Current clip</a>.</p>`:h}
        ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
        ${(t.points??[]).map(p=>this.point(p,r))}
        ${t.points?.length?h:a`<p class="empty">No points. Mark point (key M) marks the frame that is shown, I and O where the part begins and ends.</p>`}
      </div>
      <div class="angle" role="group" aria-label="Points and other clips">
        <button data-verb="mark" ?disabled=${r} @click=${()=>this.markPoint()}>Mark point</button>
        <select id="angle" aria-label="Other clip" ?disabled=${!this.angles.length}>${this.angles.map(p=>a`<option value=${p}>${p}</option>`)}</select>
        <button data-verb="angle" title=${this.deck.verb("angle")?.help??""} ?disabled=${r||!this.angles.length} @click=${()=>{this.run("angle",{clip:this.renderRoot.querySelector("#angle")?.value??""})}}>Same moment there</button>
      </div>
    `}end(e,t,r,n){return a`<button data-verb="mark" ?disabled=${n} aria-label=${t} @click=${()=>{this.run("mark",{what:e})}} @dblclick=${()=>{this.run("unmark",{what:e})}}>
      <span class="figure">${r?.timecode||(r?`Frame ${r.frame}`:"-")}</span><span class="label">${t} (${e==="in"?"I":"O"})</span></button>`}point(e,t){let r=e.name??"";return a`<div class="row">
      <button class="figure" data-verb="cue" title="Go there" ?disabled=${t} @click=${()=>this.cue(e.frame)}>${e.timecode||e.frame}</button>
      <input aria-label="Name of the point at ${e.timecode}" .value=${r} maxlength="80" @change=${n=>{this.rename(e,n.target.value)}} />
      <button class="small" data-verb="unmark" aria-label="Remove ${r}" ?disabled=${t} @click=${()=>{this.run("unmark",{what:r})}}>✕</button>
    </div>`}};pe.styles=[$,v`
      :host { display: grid; grid-template-columns: minmax(0, 1fr); grid-template-rows: auto auto auto auto minmax(4rem, 1fr) auto; gap: 0.6rem; height: 100%; min-height: 0; }
      .head, .ends, .acts, .angle { display: flex; gap: 0.25rem; align-items: center; }
      .head .cut { flex: 1; color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .ends { display: grid; grid-template-columns: minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.5rem; }
      .ends button { padding: 0; display: grid; justify-items: center; align-content: center; gap: 0.1rem; line-height: 1.1; min-height: 3rem; }
      .ends span { text-align: center; }
      .acts > * { flex: 1 1 0; padding: 0 0.25rem; white-space: nowrap; }
      .acts .label { flex: 0 0 auto; padding-right: 0.35rem; }
      .part { cursor: grab; border-style: dashed; }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 0; }
      .row { display: grid; grid-template-columns: auto minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.2rem 0; border-bottom: 1px solid var(--line); }
      .angle select { flex: 1 1 6rem; min-height: 2.75rem; }
      @media (max-width: 759px) { .acts, .angle { flex-wrap: wrap; } .acts .part, .angle :first-child { flex-basis: 100%; } }
      p { margin: 0; font-size: 0.875rem; }
      .empty { padding: 0.75rem 0; color: var(--dim); }
    `],d([g()],pe.prototype,"details",2),d([g()],pe.prototype,"problem",2),d([g()],pe.prototype,"angles",2),pe=d([b("xp-replay")],pe);var $t={waveform:"Waveform, per cent",parade:"Parade, per cent",vectorscope:"Vectorscope, 75 %"},es=2,Bt=24,ts=576,is=12,rs=.55,Si=123*Math.PI/180,Ci=64,ss=940,zi=1024;function Li(s){let i=new DataView(s);if(s.byteLength<Bt||i.getUint16(0,!0)!==es)return null;let[e,t,r]=[2,4,6].map(c=>i.getUint16(c,!0));if(s.byteLength!==Bt+r*(e+3*t+r))return null;let n=Bt,o=c=>{let l=new Uint8Array(s,n,c*r);return n+=c*r,{columns:c,rows:r,values:l}};return{lines:i.getUint16(16,!0),waveform:o(e),parade:o(3*t),vectorscope:o(r)}}var ns=[.8,.9,.85],os=[[1,.32,.28],[.3,.95,.4],[.38,.55,1]];function as(s,i){let e=(s-.5)*1.8556,t=(.5-i)*1.5748;return[.75+t*.9,.75-.1873*e-.4681*t,.75+e*.9].map(n=>Math.min(1,Math.max(.3,n)))}var Ri=new Map;function ls(s,{columns:i,rows:e}){let t=Ri.get(s);if(t?.image.width===i&&t.image.height===e)return t;let r=new Uint8Array(3*i*e);for(let o=0;o<i*e;++o){let c=o%i,l=s==="parade"?os[Math.floor(c*3/i)]:s==="vectorscope"?as(c/i,o/i/e):ns;r.set(l.map(m=>m*255),3*o)}let n={canvas:new OffscreenCanvas(i,e),image:new ImageData(i,e),colours:r};return Ri.set(s,n),n}function Oi(s,i,e){let{canvas:t,image:r,colours:n}=ls(s,i),o=Math.max(1,i.rows/e)**1.5,c=Array.from({length:256},(m,u)=>(is+u*rs)*o/255),{data:l}=r;l.fill(0);for(let m=0;m<i.values.length;++m){let u=i.values[m];if(u){for(let p=0;p<3;++p)l[4*m+p]=n[3*m+p]*c[u];l[4*m+3]=255}}return t.getContext("2d")?.putImageData(r,0,0),t}var Ui=s=>s<=ts?{red:.299,blue:.114,name:"BT.601"}:{red:.2126,blue:.0722,name:"BT.709"},Di=s=>Ui(s).name;function ds(s){let i=Ui(s);return[["R",1,0,0],["Yl",1,1,0],["G",0,1,0],["Cy",0,1,1],["B",0,0,1],["Mg",1,0,1]].map(([e,t,r,n])=>{let o=i.red*t+(1-i.red-i.blue)*r+i.blue*n,c=(l,m)=>(512+.75*896*(l-o)/(2-2*m))/zi;return{name:e,x:c(n,i.blue),y:1-c(t,i.red)}})}function Hi(s,i,e){let t=devicePixelRatio,r=s.clientWidth,n=s.clientHeight;if(!r||!n)return;(s.width!==Math.round(r*t)||s.height!==Math.round(n*t))&&([s.width,s.height]=[Math.round(r*t),Math.round(n*t)]);let o=s.getContext("2d");if(!o)return;let c=getComputedStyle(s),l=.6875*parseFloat(getComputedStyle(document.documentElement).fontSize);o.setTransform(t,0,0,t,0,0),o.clearRect(0,0,r,n),o.font=`${l}px ${c.fontFamily}`,o.fillStyle=o.strokeStyle="#a5adb5",o.textBaseline="middle",i==="vectorscope"?hs(o,r,n,l,e):cs(o,r,n,l,i==="parade")}function cs(s,i,e,t,r){for(let n of[0,25,50,75,100]){let o=(1-(Ci+(ss-Ci)*n/100)/zi)*e;s.globalAlpha=n%100===0?.6:.28,s.fillRect(0,o,i,1),s.globalAlpha=1;let c=String(n),l=n===100?o-.65*t:o+.75*t;(!r||n%100===0)&&s.fillText(c,4,n===0?Math.min(l,e-.6*t):l)}if(r){s.globalAlpha=.4;for(let n of[1,2])s.fillRect(i*n/3,0,1,e);s.globalAlpha=1}}function hs(s,i,e,t,r){let n=Math.min(i,e),[o,c]=[(i-n)/2,(e-n)/2],[l,m]=[o+n/2,c+n/2];s.lineWidth=1,s.globalAlpha=.4,s.beginPath(),s.arc(l,m,n*.4375,0,2*Math.PI),s.moveTo(l,c+n*.04),s.lineTo(l,c+n*.96),s.moveTo(o+n*.04,m),s.lineTo(o+n*.96,m);let[u,p]=[Math.cos(Si),-Math.sin(Si)].map(k=>k*n*.4375);s.moveTo(l,m),s.lineTo(l+u,m+p),s.stroke();let y=Math.max(5,n*.028);s.textAlign="center";for(let k of ds(r)){let[w,E]=[o+k.x*n,c+k.y*n];s.globalAlpha=.8,s.strokeRect(w-y,E-y,2*y,2*y),s.globalAlpha=1;let S=(y+.9*t)/Math.hypot(k.x-.5,k.y-.5);s.fillText(k.name,w+(.5-k.x)*S,E+(.5-k.y)*S)}}var ps=160,ms=4,ne=class extends x{constructor(){super(...arguments);this.only="";this.problem="";this.live=!1;this.lines=1080;this.timer=0;this.observer=new ResizeObserver(()=>this.grids());this.looking=!1;this.rest=0}connectedCallback(){super.connectedCallback(),this.timer=window.setInterval(()=>{this.look()},ps)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer),this.observer.disconnect()}async look(){if(this.looking||document.hidden||performance.now()<this.rest)return;this.looking=!0;let e=await U("GET","scopes");if(e instanceof _)this.problem=e.sentence;else if(e.status===200){let t=Li(await e.arrayBuffer());this.problem=t?"":"The scopes cannot be read.",t&&(this.lines=t.lines);let r=performance.now();if(t)for(let n of this.kinds)this.paint(n,t[n]);this.rest=performance.now()+ms*(performance.now()-r)}this.live=!this.problem,this.looking=!1}get kinds(){let e=Object.keys($t);return e.includes(this.only)?[this.only]:e}paint(e,t){let r=this.renderRoot.querySelector(`#${e}`),n=r?.getContext("2d",{alpha:!1});if(!r||!n)return;let o=[r.clientWidth,r.clientHeight].map(u=>Math.max(1,Math.round(u*devicePixelRatio)));(r.width!==o[0]||r.height!==o[1])&&([r.width,r.height]=o),n.globalCompositeOperation="source-over",n.fillStyle="#000",n.fillRect(0,0,o[0],o[1]),n.globalCompositeOperation="lighter";let c=Oi(e,t,o[1]),l=.6*devicePixelRatio,m=e==="vectorscope"?[[-l,-l],[l,-l],[-l,l],[l,l],[0,0]]:[[0,-l],[0,0],[0,l]];for(let[u,p]of m)n.globalAlpha=u||p?.6:1,n.drawImage(c,u,p,o[0],o[1]);n.globalAlpha=1}grids(){for(let e of this.renderRoot.querySelectorAll("canvas.grid"))Hi(e,e.dataset.kind,this.lines)}updated(){for(let e of this.renderRoot.querySelectorAll(".tile"))this.observer.observe(e);this.grids()}follows(){return[this.deck.frozen>0]}view(){let e=!this.live||this.deck.frozen>0;return a`<div class="all ${this.kinds.length===1?"one":""} ${e?"idle":""}">
      ${this.kinds.map(t=>a`<figure>
          <figcaption><a href=${this.only===t?"#/scopes":`#/scopes/${t}`}>${$t[t]}${t==="vectorscope"?`, ${Di(this.lines)}`:""} <span aria-hidden="true">${this.only===t?"−":"+"}</span><span class="hidden">${this.only===t?", show all scopes":", larger"}</span></a></figcaption>
          <div class="tile ${t==="vectorscope"?"square":""}"><canvas id=${t} role="img" aria-label=${$t[t]}></canvas><canvas class="grid" data-kind=${t} aria-hidden="true"></canvas></div>
        </figure>`)}
      ${this.problem?a`<p role="alert">${this.problem}</p>`:h}
    </div>`}};ne.styles=[$,v`
      :host { height: 100%; }
      .all { height: 100%; display: grid; grid-template: minmax(0, 1.05fr) minmax(0, 1fr) / minmax(0, 1fr) auto; gap: 0.5rem; }
      .all.one { grid-template: minmax(0, 1fr) / minmax(0, 1fr); }
      figure { margin: 0; display: grid; grid-template-rows: auto minmax(0, 1fr); gap: 0.2rem; min-height: 0; min-width: 0; }
      .all:not(.one) figure:first-of-type { grid-column: 1 / -1; }
      figcaption a { font-size: 0.75rem; color: var(--dim); text-decoration: none; display: block; min-height: 1.5rem; line-height: 1.5rem; }
      .tile { position: relative; background: #000; min-height: 0; overflow: hidden; border-radius: 2px; }
      .square { height: 100%; aspect-ratio: 1; max-width: 100%; justify-self: center; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .idle canvas:not(.grid) { opacity: 0.25; }
      p { grid-column: 1 / -1; }
      @media (max-width: 759px) {
        .all, .all.one { grid-template: repeat(3, auto) / minmax(0, 1fr); height: auto; max-height: 100%; overflow-y: auto; }
        .tile { height: 12rem; }
        .square { height: auto; width: 100%; }
      }
    `],d([f()],ne.prototype,"only",2),d([g()],ne.prototype,"problem",2),d([g()],ne.prototype,"live",2),d([g()],ne.prototype,"lines",2),ne=d([b("xp-scopes")],ne);var oe={ATTRIBUTE:1,CHILD:2,PROPERTY:3,BOOLEAN_ATTRIBUTE:4,EVENT:5,ELEMENT:6},yt=s=>(...i)=>({_$litDirective$:s,values:i}),ze=class{constructor(i){}get _$AU(){return this._$AM._$AU}_$AT(i,e,t){this._$Ct=i,this._$AM=e,this._$Ci=t}_$AS(i,e){return this.update(i,e)}update(i,e){return this.render(...e)}};var{I:us}=mi,Ii=s=>s;var qi=s=>s.strings===void 0,Ni=()=>document.createComment(""),Le=(s,i,e)=>{let t=s._$AA.parentNode,r=i===void 0?s._$AB:i._$AA;if(e===void 0){let n=t.insertBefore(Ni(),r),o=t.insertBefore(Ni(),r);e=new us(n,o,s,s.options)}else{let n=e._$AB.nextSibling,o=e._$AM,c=o!==s;if(c){let l;e._$AQ?.(s),e._$AM=s,e._$AP!==void 0&&(l=s._$AU)!==o._$AU&&e._$AP(l)}if(n!==r||c){let l=e._$AA;for(;l!==n;){let m=Ii(l).nextSibling;Ii(t).insertBefore(l,r),l=m}}}return e},me=(s,i,e=s)=>(s._$AI(i,e),s),gs={},kt=(s,i=gs)=>s._$AH=i,Bi=s=>s._$AH,xt=s=>{s._$AR(),s._$AA.remove()};var _t=yt(class extends ze{constructor(s){if(super(s),s.type!==oe.PROPERTY&&s.type!==oe.ATTRIBUTE&&s.type!==oe.BOOLEAN_ATTRIBUTE)throw Error("The `live` directive is not allowed on child or event bindings");if(!qi(s))throw Error("`live` bindings can only contain a single expression")}render(s){return s}update(s,[i]){if(i===H||i===h)return i;let e=s.element,t=s.name;if(s.type===oe.PROPERTY){if(i===e[t])return H}else if(s.type===oe.BOOLEAN_ATTRIBUTE){if(!!i===e.hasAttribute(t))return H}else if(s.type===oe.ATTRIBUTE&&e.getAttribute(t)===i+"")return H;return kt(s),i}});var fs=4e3,vs=3e3,bs=4294967295,ji=s=>s.keep==="always"&&s.value!==s.default,ws=s=>s.replaceAll("\\","\\\\").replaceAll(`
`,"\\n"),$s=s=>s.replaceAll(/\\(.)/g,(i,e)=>e==="n"?`
`:e),F=class extends x{constructor(){super(...arguments);this.target="";this.search="";this.group="";this.changedOnly=!1;this.text=null;this.refused={name:"",told:""};this.set="";this.arrived=!1;this.timer=0}connectedCallback(){super.connectedCallback(),this.deck.readParameters(),this.timer=window.setInterval(()=>this.isTypedInto||document.hidden||void this.deck.readParameters(),fs)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}get isTypedInto(){return/^(input|textarea|select)$/.test(this.renderRoot.activeElement?.localName??"")}get settable(){return[...this.deck.parameters.values()].filter(e=>!e.told&&e.keep!=="command")}get rows(){let e=this.search.trim().toLowerCase();return this.settable.filter(t=>(!this.group||t.group===this.group)&&(!this.changedOnly||ji(t))&&(!e||`${t.name} ${B(t.name)} ${t.help}`.toLowerCase().includes(e)))}updated(e){e.has("target")&&(this.arrived=!1);let t=this.arrived?null:this.renderRoot.querySelector(".target");t&&(t.scrollIntoView({block:"center"}),this.arrived=!0)}async write(e,t){let r=await this.deck.set(e.name,t);this.refused=r.done?{name:"",told:""}:{name:e.name,told:ce(r)},this.set=r.done?e.name:"",r.done&&setTimeout(()=>this.set=this.set===e.name?"":this.set,vs),await this.deck.readParameters()}async apply(){for(let e of(this.text??"").split(`
`)){let t=/^\s*([a-z0-9_]+)\s*=\s?(.*)$/.exec(e);if(!t)continue;let r=$s(t[2]);if(this.deck.parameters.get(t[1])?.value===r)continue;let n=await this.deck.set(t[1],r);if(!n.done){this.refused={name:t[1],told:`${M(t[1])}: ${ce(n)}`};return}}this.leave(),await this.deck.readParameters()}leave(){this.text=null,this.refused={name:"",told:""}}follows(){return[this.deck.parameters,this.deck.me,this.deck.state?.media]}get may(){return this.deck.me.role==="engineer"}view(){let e=this.rows,t=[...new Set(this.settable.map(r=>r.group??""))];return a`
      <div class="tools">
        <input type="search" aria-label="Search settings" placeholder="Search settings" .value=${this.search} @input=${r=>this.search=r.target.value} />
        <select aria-label="Group of settings" @change=${r=>this.group=r.target.value}>
          <option value="">All groups</option>${t.map(r=>a`<option value=${r} ?selected=${r===this.group}>${M(r)}</option>`)}
        </select>
        <label title="Only what differs from its default"><input type="checkbox" .checked=${this.changedOnly} @change=${r=>this.changedOnly=r.target.checked} />Changed</label>
      </div>
      ${this.text===null?this.list(e,t):this.asText()}
      <div class="acts">
        ${this.text===null?a`<button class="small" title="To be kept, or put in elsewhere" @click=${()=>this.text=e.map(r=>`${r.name} = ${ws(r.value)}`).join(`
`)}>As text</button><span class="dim">${e.length===this.settable.length?`${e.length} settings`:`${e.length} of ${this.settable.length}`}</span>`:a`<button class="small" ?disabled=${!this.may} @click=${()=>{this.apply()}}>Set all of these</button><button class="small" @click=${()=>this.leave()}>Leave</button>`}
      </div>
    `}list(e,t){return a`<div class="rows" role="region" tabindex="0" aria-label="Settings">
      ${this.may?h:a`<p class="may dim">Only an engineer changes settings: log in under <a href="#/control">Control</a>.</p>`}
      ${t.map(r=>{let n=e.filter(o=>(o.group??"")===r);return n.length?a`<h2>${M(r)}</h2>${n.map(o=>this.row(o))}`:h})}
      ${e.length?h:a`<p class="dim">${this.settable.length?"No setting of this kind.":"The settings are being asked for."}</p>`}
    </div>`}asText(){return a`<div><textarea class="text" aria-label="Settings as text" spellcheck="false" .value=${this.text??""} @input=${e=>this.text=e.target.value}></textarea>
      ${this.refused.told?a`<p role="alert">${this.refused.told} The lines above it are set.</p>`:h}</div>`}row(e){let t=e.name===this.refused.name,r=ys(e);return a`<div class="row ${e.name===this.target?"target":""} ${t?"refused":""}" id=${e.name}>
      <div class="name" title=${e.name}>${M(e.name)}</div>
      <div class="field ${e.unit&&!e.choices?.length?"has-unit":""}">${this.field(e,t)}${e.unit&&!e.choices?.length?a`<span class="unit">${e.unit}</span>`:h}</div>
      ${t?a`<p role="alert" id="refused">Not set. ${xe(this.refused.told)}</p>`:h}
      <div class="help">${xe(L(e.help))}${r?a` <span class="range">${r}.</span>`:h}${e.keep==="until_restart"?" Kept until the machine restarts.":h}</div>
      <div class="about">${ji(e)?a`<span class="differs">Default: ${B(e.default)||"empty"}</span><button ?disabled=${!this.may} @click=${()=>{this.write(e,e.default)}}>Set to default</button>`:h}${e.name===this.set?a`<span class="differs" role="status">✓ Set</span>`:h}</div>
    </div>`}field(e,t){let r=m=>{this.write(e,m.target.value)},n=B(e.name),o=t?"true":h,c=this.choices(e);if(c.length)return a`<select aria-label=${n} aria-invalid=${o} ?disabled=${!this.may} .value=${_t(e.value)} @change=${r}>${c.map(([m,u])=>a`<option value=${m} ?selected=${m===e.value}>${u}</option>`)}</select>`;if(e.attributes?.includes("lines"))return a`<textarea aria-label=${n} aria-invalid=${o} ?disabled=${!this.may} spellcheck="false" .value=${_t(e.value)} @change=${r}></textarea>`;let l=e.minimum!==void 0&&!e.attributes?.includes("timecode_preset");return a`<input type=${l?"number":"text"} aria-label=${n} aria-invalid=${o} ?disabled=${!this.may} min=${e.minimum??h} max=${e.maximum??h} spellcheck="false" .value=${_t(e.value)} @change=${r} />`}choices(e){if(e.choices?.length)return e.choices.map(n=>[n,B(n)]);let t=this.deck.state?.media??[];if(!e.attributes?.includes("folder")||!t.length)return[];let r=t.map(n=>[n.path,n.label?`${n.label} (${n.path})`:n.path]);return e.value&&!t.some(n=>n.path===e.value)&&r.unshift([e.value,`${e.value} (not here)`]),[["","none"],...r]}};F.styles=[$,v`
      :host { display: grid; grid-template-rows: auto minmax(8rem, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 11rem) auto; gap: 0.5rem; align-items: center; }
      .tools label { font-size: 0.8125rem; display: flex; gap: 0.4rem; align-items: center; min-height: 2.25rem; }
      input[type="checkbox"] { width: 1.1rem; height: 1.1rem; min-height: 0; accent-color: var(--text); }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 0; position: relative; }
      h2 { position: sticky; top: 0; z-index: 1; background: var(--panel); padding: 0.5rem 0.25rem 0.4rem; border-bottom: 1px solid var(--line); }
      .row { display: grid; grid-template-columns: minmax(0, 1fr) 11rem; gap: 0.2rem 0.75rem; padding: 0.45rem 0.25rem; border-bottom: 1px solid var(--line); align-items: center; scroll-margin-top: 2.5rem; }
      .row.target { background: var(--lifted); }
      .row .name { color: var(--bright); overflow-wrap: anywhere; }
      .row .help { grid-column: 1 / -1; font-size: 0.8125rem; line-height: 1.35; color: var(--dim); }
      .range { color: var(--text); }
      .row .about { grid-column: 1 / -1; display: flex; flex-wrap: wrap; gap: 0 0.75rem; align-items: center; font-size: 0.8125rem; color: var(--dim); min-height: 1.5rem; }
      .row .about:empty { display: none; }
      .about button { min-height: 1.5rem; padding: 0 0.5rem; font-size: 0.75rem; }
      .about .differs { color: var(--text); }
      .row [role="alert"] { grid-column: 1 / -1; padding: 0; font-size: 0.875rem; }
      .row.refused { box-shadow: inset 0.1875rem 0 0 var(--amber); padding-left: 0.6rem; }
      .field { position: relative; min-width: 0; }
      .field > * { width: 100%; }
      .field .unit { position: absolute; right: 0.7rem; top: 0; bottom: 0; width: auto; display: grid; align-items: center; color: var(--dim); font-size: 0.8125rem; pointer-events: none; }
      .field.has-unit input { padding: 0 3.75rem 0 0.4rem; }
      .field textarea { font: inherit; min-height: 4.5rem; padding: 0.35rem 0.6rem; resize: vertical; }
      input[type="number"] { appearance: textfield; }
      input::-webkit-inner-spin-button { display: none; }
      .text { width: 100%; height: 100%; resize: none; font-family: ui-monospace, monospace; font-size: 0.8125rem; padding: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; align-items: center; }
      .acts .dim { margin-left: auto; font-size: 0.8125rem; }
      .may { margin: 0; font-size: 0.875rem; }
      @media (max-width: 759px) { .tools { grid-template-columns: minmax(0, 1fr) auto; } .tools input { grid-column: 1 / -1; } .row { grid-template-columns: minmax(0, 1fr) minmax(0, 10rem); } }
      @media (pointer: coarse) { .about button { min-height: 2.75rem; } }
    `],d([f()],F.prototype,"target",2),d([g()],F.prototype,"search",2),d([g()],F.prototype,"group",2),d([g()],F.prototype,"changedOnly",2),d([g()],F.prototype,"text",2),d([g()],F.prototype,"refused",2),d([g()],F.prototype,"set",2),F=d([b("xp-settings")],F);function ys(s){if(s.minimum===void 0||s.choices?.length||s.attributes?.includes("timecode_preset"))return"";let i=s.unit?` ${s.unit}`:"";return s.maximum===void 0||s.maximum>=bs?s.minimum>0?`From ${s.minimum}${i}`:"":`${s.minimum} to ${s.maximum}${i}`}var Oe=["clips","list","replay","media","scopes","settings","alarms","control"],ae=class extends x{constructor(){super(...arguments);this.chosen="clips";this.detail="";this.moved=()=>{let[e,...t]=location.hash.replace(/^#\//,"").split("/");Oe.includes(e)&&(this.chosen=e,this.detail=decodeURIComponent(t.join("/")))}}connectedCallback(){super.connectedCallback(),addEventListener("hashchange",this.moved),this.addEventListener("xp-add",e=>{this.add(e.detail)}),this.addEventListener("xp-dragclips",()=>this.dragged()),this.moved()}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved)}go(e){this.chosen=e,this.detail="",location.hash=`#/${e}`}turn(e){this.go(Oe[(Oe.indexOf(this.chosen)+e+Oe.length)%Oe.length])}mark(){this.go("replay"),this.updateComplete.then(()=>this.replay?.markPoint())}async add(e){this.go("list"),await this.updateComplete,await this.list?.read(),await this.list?.add(e)}dragged(){this.renderRoot.querySelector("#tab-list")?.addEventListener("dragenter",()=>this.go("list"),{once:!0})}keydown(e){let t={ArrowRight:1,ArrowLeft:-1}[e.key];t!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(t),this.updateComplete.then(()=>this.renderRoot.querySelector('[aria-selected="true"]')?.focus()))}follows(){return[this.deck.state?.alarms,this.deck.verbs]}view(){let e=this.deck.state?.alarms??0;return a`<div class="whole">
      <button class="close" @click=${()=>this.dispatchEvent(new Event("xp-close"))}>Back to the deck</button>
      <div class="tabs" role="tablist" aria-label="Views" @keydown=${this.keydown}>
        ${Oe.map(t=>a`<button role="tab" id="tab-${t}" aria-controls="body" aria-selected=${t===this.chosen?"true":"false"} tabindex=${t===this.chosen?0:-1} class=${t==="alarms"&&e?"up":""} @click=${()=>this.go(t)}>
            ${t.charAt(0).toUpperCase()+t.slice(1)}${t==="alarms"&&e?a` <b>! ${e}</b>`:h}
          </button>`)}
      </div>
      <div class="body" id="body" role="tabpanel" aria-labelledby="tab-${this.chosen}">${this.body()}</div>
    </div>`}body(){let{deck:e}=this;switch(this.chosen){case"clips":return a`<xp-clips .deck=${e}></xp-clips>`;case"list":return a`<xp-list .deck=${e}></xp-list>`;case"replay":return a`<xp-replay .deck=${e}></xp-replay>`;case"media":return a`<xp-media .deck=${e}></xp-media>`;case"scopes":return a`<xp-scopes .deck=${e} only=${this.detail}></xp-scopes>`;case"settings":return a`<xp-settings .deck=${e} target=${this.detail}></xp-settings>`;case"alarms":return a`<xp-alarms .deck=${e}></xp-alarms>`;case"control":return a`<xp-control .deck=${e}></xp-control>`}}};ae.styles=[$,v`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); }
      .whole { display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100%; }
      .tabs { display: grid; grid-auto-flow: column; grid-auto-columns: minmax(0, auto); border-bottom: 1px solid var(--line); }
      .tabs button { border: 0; background: transparent; padding: 0 0.2rem; border-radius: 0; font-size: 0.8125rem; border-bottom: 0.1875rem solid transparent; color: var(--dim); }
      .tabs button[aria-selected="true"] { color: var(--bright); border-bottom-color: var(--bright); }
      .tabs .up { color: var(--amber); }
      .body { padding: 0.75rem; min-height: 0; overflow: hidden auto; scrollbar-color: var(--edge) transparent; }
      .close { display: none; }
      @media (max-width: 1099px) {
        :host { border-radius: 0; }
        .whole { grid-template-rows: auto auto minmax(0, 1fr); }
        .tabs { grid-auto-flow: row; grid-template-columns: repeat(4, 1fr); }
        @media (min-width: 560px) { .tabs { grid-template-columns: repeat(8, 1fr); } }
        .close { display: block; width: 100%; min-height: 3rem; border-radius: 0; }
      }
    `],d([g()],ae.prototype,"chosen",2),d([g()],ae.prototype,"detail",2),d([T("xp-list")],ae.prototype,"list",2),d([T("xp-replay")],ae.prototype,"replay",2),ae=d([b("xp-column")],ae);var jt=60,Et=4,G=class extends A{constructor(){super(...arguments);this.label="";this.unit="";this.value=null;this.warnAbove=1/0;this.past=[];this.timer=0}connectedCallback(){super.connectedCallback(),this.timer=window.setInterval(()=>this.sample(),1e3/Et)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}sample(){this.past.push(this.deck.stale?null:this.value),this.past.length>jt*Et&&this.past.shift(),this.draw()}draw(){let e=this.canvas?.getContext("2d");if(!e||!this.clientWidth)return;let t=window.devicePixelRatio,r=Math.round(this.clientWidth*t),n=Math.round(this.clientHeight*t);(this.canvas.width!==r||this.canvas.height!==n)&&([this.canvas.width,this.canvas.height]=[r,n]);let o=getComputedStyle(this);e.clearRect(0,0,r,n);let c=Number.isFinite(this.warnAbove)?this.warnAbove*1.25:1,l=Math.max(c,...this.past.map(p=>p??0)),m=r/(jt*Et),u=jt*Et-this.past.length;this.past.forEach((p,y)=>{if(p===null)return;let k=Math.max(t,p/l*(n-2*t));e.fillStyle=o.getPropertyValue(p>this.warnAbove?"--amber":"--edge"),e.globalAlpha=p>this.warnAbove?.45:.35,e.fillRect((u+y)*m,n-k,Math.ceil(m),k)}),e.globalAlpha=1}render(){let e=(this.value??0)>this.warnAbove,t=this.value===null?"-":this.value>=100||Number.isInteger(this.value)?this.value.toFixed(0):this.value.toFixed(1);return a`<canvas aria-hidden="true"></canvas>
      <div class="over ${e?"warn":""}"><div class="label">${this.label}</div><div class="figure">${e?"! ":""}${t} <small>${this.unit}</small></div></div>`}};G.styles=[$,v`
      :host { display: block; position: relative; min-width: 0; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .over { position: relative; padding: 0.35rem 0.75rem; display: grid; gap: 0.1rem; align-content: center; height: 100%; white-space: nowrap; pointer-events: none; }
      .label { font-size: var(--label-size, 0.6875rem); }
      .figure { font-size: var(--figure-size, 0.9375rem); line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      small { font-weight: 400; font-size: var(--label-size, 0.6875rem); color: var(--dim); }
    `],d([f()],G.prototype,"label",2),d([f()],G.prototype,"unit",2),d([f({attribute:!1})],G.prototype,"value",2),d([f({attribute:!1})],G.prototype,"warnAbove",2),d([f({attribute:!1})],G.prototype,"deck",2),d([T("canvas")],G.prototype,"canvas",2),G=d([b("xp-chart")],G);var Fi=["information","warning","error"],Ue=class extends x{constructor(){super(...arguments);this.delay=null}cell(e,t,r=!1,n=""){return a`<div class="cell ${r?"warn":""} ${n}"><div class="label">${e}</div><div class="figure">${r?"! ":h}${t}</div></div>`}alarms(e){let[t]=[...e].sort((n,o)=>Fi.indexOf(o.level)-Fi.indexOf(n.level)),r=!!t&&t.level!=="information";return a`<a class="cell ${r?"warn":""}" href="#/alarms" title=${t?.message??""}><div class="label">Alarms</div><div class="figure">${t?a`${r?"! ":h}${M(t.name)}${e.length>1?` +${e.length-1}`:h}`:"none"}</div></a>`}view(){let{state:e,counters:t,frozen:r}=this.deck,n=!!e&&e.medium_seconds_left>0&&e.medium_seconds_left<600,o=(e?.dropped_capture??0)+(e?.dropped_playback??0),c=e?.owner?.name;return a`<div class="strip ${this.deck.stale?"stale":""}" role="group" aria-label="Health">
      ${r?this.cell("Lens to screen",`${(r/1e3).toFixed(1)} s ago`,!0):this.cell("Lens to screen",this.delay===null?"-":`${Math.round(this.delay)} ms`,(this.delay??0)>250)}
      ${this.cell("Room",e?re(e.medium_seconds_left):"-",n)}
      ${this.cell("Lost frames",o,o>0)}
      ${this.alarms(e?.alarm_list??[])}
      <xp-chart label="Writer queue" unit="frames" .value=${t.writer_queue??null} .warnAbove=${24} .deck=${this.deck}></xp-chart>
      <xp-chart label="Write latency p99" unit="ms" .value=${t.write_latency_p99===void 0?null:t.write_latency_p99/1e3} .warnAbove=${250} .deck=${this.deck}></xp-chart>
      <xp-chart class="optional" label="Frames lost" unit="" .value=${e?o:null} .warnAbove=${.5} .deck=${this.deck}></xp-chart>
      ${this.cell("In control",c?a`<bdi>${c}</bdi>`:"everybody")}
    </div>`}};Ue.styles=[$,v`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; }
      .strip { display: flex; height: 100%; align-items: stretch; overflow: hidden; }
      .cell { padding: 0.35rem 0.75rem; display: grid; align-content: center; gap: 0.1rem; border-right: 1px solid var(--line); min-width: 0; white-space: nowrap; }
      .cell:last-child { border-right: 0; margin-left: auto; }
      .figure { font-size: var(--figure-size, 0.9375rem); line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      xp-chart { flex: 1 1 8rem; min-width: 6.5rem; border-right: 1px solid var(--line); }
      a.cell { text-decoration: none; max-width: 16rem; }
      a.cell .figure { overflow: hidden; text-overflow: ellipsis; }
      @media (min-width: 1100px) { :host([big]) { --figure-size: 1.7vw; --label-size: 0.9vw; } :host([big]) .cell { padding: 0.4vw 1vw; } }
      .label { font-size: var(--label-size, 0.6875rem); }
      .strip.stale > :not(:first-child) .figure { color: var(--dim); }
      :host([big]) .optional { display: none; }
      @media (max-width: 1100px) { .optional { display: none; } }
      @media (max-width: 1099px) {
        .strip { display: grid; grid-template-columns: 1fr 1fr; height: auto; }
        .cell, .cell:last-child { border: 0; margin: 0; overflow: hidden; }
        xp-chart { border: 0; height: 3rem; }
      }
    `],d([f({attribute:!1})],Ue.prototype,"delay",2),Ue=d([b("xp-health")],Ue);var Ki=[{keys:"R",verb:"record",text:""},{keys:"S",verb:"stop",text:"; in a take hold it for a second"},{keys:"L",verb:"play",text:"; again: twice as fast"},{keys:"J",verb:"play",text:", backwards; again: twice as fast"},{keys:"K",verb:"still",text:""},{keys:"K + L, K + J",verb:"play",text:", at a quarter of the speed"},{keys:"Space",verb:"still",text:", or play on"},{keys:"← →",verb:"step",text:": one"},{keys:"Shift ← →",verb:"step",text:": ten"},{keys:"Home, End",verb:"cue",text:": the first, the last"},{keys:"C",verb:"cue",text:": type where"},{keys:"[ ]",verb:"prev",text:", or to the next"},{keys:"I, O",verb:"mark",text:": in, out"},{keys:"P",verb:"replay",text:""},{keys:"V",verb:"live",text:""},{keys:"M",verb:"",text:"mark the frame that is shown"},{keys:"F",verb:"",text:"picture and timecode alone, and back"},{keys:"?",verb:"",text:"all keys and verbs; on a control: its verb"}],ks=.25;function Vi(s,i){let e=new Set,t=()=>s.state&&s.state.status!=="stopped"?s.state.speed:0,r=w=>{if(e.has("k"))return s.speed(w*ks);let E=s.askedSpeed??t(),S=Math.sign(E)===w&&Math.abs(E)>=1?Math.min(64,Math.abs(E)*2):1;s.speed(w*S)},n=()=>s.speed(0),o=(w,E={})=>{s.verb(w)&&s.run(w,E)},c=w=>{s.run("cue",{where:String(Math.max(0,w))})},l={r:()=>{s.run("record")},s:()=>i.holdStop(),l:()=>r(1),j:()=>r(-1),k:n," ":()=>P(s.state)?i.holdStop():t()!==0?n():r(1),arrowleft:w=>s.steps(w.shiftKey?-10:-1),arrowright:w=>s.steps(w.shiftKey?10:1),home:()=>c(0),end:()=>c((s.state?.clip_frames??1)-1),"[":()=>{s.run("prev")},"]":()=>{s.run("next")},c:()=>i.focusTimecode(),m:()=>i.mark(),i:()=>o("mark",{what:"in"}),o:()=>o("mark",{what:"out"}),p:()=>o("replay"),v:()=>o("live"),f:()=>i.kiosk(),"?":w=>i.help(w)},m=new Set(["arrowleft","arrowright"]),u=w=>{let E=w.composedPath()[0];return E instanceof HTMLInputElement||E instanceof HTMLTextAreaElement||E instanceof HTMLSelectElement},p=w=>{if(w.ctrlKey||w.metaKey||w.altKey||u(w))return;let E=w.key.toLowerCase(),S=l[E];S&&(w.preventDefault(),!(w.repeat&&!m.has(E))&&(e.add(E),S(w)))},y=w=>{let E=w.key.toLowerCase();e.delete(E),(E==="s"||E===" ")&&i.releaseStop(),(E==="j"||E==="l")&&e.has("k")&&n()},k=()=>{e.clear(),i.releaseStop()};return window.addEventListener("keydown",p),window.addEventListener("keyup",y),window.addEventListener("blur",k),()=>{window.removeEventListener("keydown",p),window.removeEventListener("keyup",y),window.removeEventListener("blur",k)}}var Wi={http:"HTTP",line:"Line",osc:"OSC",shell:"Shell"},le=class extends x{constructor(){super(...arguments);this.values={};this.told="";this.copied=""}willUpdate(e){e.has("verb")&&(this.values={},this.told=this.copied="")}follows(){return[this.deck.stale,this.deck.state?.media,this.deck.state?.alarm_list,this.deck.pending]}view(){let{verb:e}=this,t=e.arguments.some(n=>n.required&&!this.values[n.name]),r=ki(e.name);return a`
      ${e.arguments.map(n=>a`<p class="dim">${M(n.name)}: ${n.help}</p>`)}
      <form @submit=${n=>n.preventDefault()}>
        ${e.arguments.map(n=>a`<label>${M(n.name)}${n.unit?` (${n.unit})`:""}${this.field(n)}</label>`)}
        <xp-key verb=${e.name} label=${r?`Hold to ${B(e.name)}`:M(e.name)} ?hold=${r} ?pending=${this.deck.pending.has(e.name)} ?disabled=${t||this.deck.stale}
          @press=${()=>{this.run()}} @toobrief=${()=>this.told="Hold the key for a second."}></xp-key>
        <output>${this.told}</output>
      </form>
      ${Object.entries(e.forms).map(([n,o])=>a`<div class="form"><span class="dim">${Wi[n]??n}</span><code tabindex="0">${this.filled(n,o)}</code>
          <button class="small" aria-label="Copy the ${Wi[n]??n} form of ${B(e.name)}" @click=${c=>this.copy(c,n)}>${this.copied===n?"Copied":"Copy"}</button></div>`)}`}field(e){let t=o=>{this.values={...this.values,[e.name]:o.target.value}},r=this.values[e.name]??"",n=this.choices(e);return n.length?a`<select @change=${t}>${["",...n].map(o=>a`<option value=${o} ?selected=${o===r}>${o}</option>`)}</select>`:e.minimum!==void 0?a`<input type="number" min=${e.minimum} max=${e.maximum??h} step=${e.type==="integer"?1:"any"} .value=${r} @input=${t} />`:a`<input type="text" autocomplete="off" spellcheck="false" maxlength="4096" .value=${r} @input=${t} />`}choices(e){let t=this.deck.state;return e.choices?e.choices:e.type==="medium"?(t?.media??[]).map(r=>r.label||r.path):e.name==="alarm"?(t?.alarm_list??[]).map(r=>r.name):[]}async run(){this.told="";let e=Object.fromEntries(Object.entries(this.values).filter(([,r])=>r!=="")),t=await this.deck.run(this.verb.name,e);this.told=t.done?"Done.":ce(t)}filled(e,t){let r=t;for(let[n,o]of Object.entries(this.values)){if(o==="")continue;let c=e==="http"?encodeURIComponent(o):e==="shell"&&/[^\w.:+,/-]/.test(o)?`'${o.replaceAll("'","'\\''")}'`:o;r=r.replace(new RegExp(`\\[?\\b${n.toUpperCase()}\\b\\]?`),()=>c)}return r}copy(e,t){let r=e.currentTarget.parentElement?.querySelector("code");if(!r)return;getSelection()?.selectAllChildren(r),!document.execCommand("copy")&&navigator.clipboard&&navigator.clipboard.writeText(r.textContent??"").catch(()=>{}),this.copied=t}};le.styles=[$,v`
      :host { padding: 0.25rem 0 0.75rem; }
      form { display: flex; flex-wrap: wrap; gap: 0.5rem; align-items: end; margin: 0.25rem 0 0.5rem; }
      label { display: grid; gap: 0.15rem; font-size: 0.75rem; color: var(--dim); flex: 0 1 14rem; }
      label > * { font-size: 1rem; color: var(--text); min-height: 2.75rem; }
      xp-key { min-width: 8rem; min-height: 2.75rem; }
      output { font-size: 0.875rem; flex-basis: 100%; }
      .form { display: grid; grid-template-columns: 3.5rem minmax(0, 1fr) 5rem; gap: 0.5rem; align-items: center; padding: 0.125rem 0; }
      code { font-family: ui-monospace, monospace; font-size: 0.8125rem; background: var(--ground); padding: 0.35rem 0.5rem; overflow-x: auto; white-space: pre; user-select: all; border-radius: 2px; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
    `],d([f({attribute:!1})],le.prototype,"verb",2),d([g()],le.prototype,"values",2),d([g()],le.prototype,"told",2),d([g()],le.prototype,"copied",2),le=d([b("xp-verb")],le);var Te=class extends x{constructor(){super(...arguments);this.only=""}show(e){this.only=e,this.updateComplete.then(()=>this.dialog.open||this.dialog.showModal())}follows(){return[this.deck.verbs]}view(){let e=this.deck.verb(this.only);return a`<dialog aria-label=${e?M(e.name):"Keys and verbs"} @keydown=${t=>t.stopPropagation()}>
      <header><h2>${e?M(e.name):"Keys and verbs"}</h2><button @click=${()=>this.dialog.close()}>Close</button></header>
      ${e?a`<p>${L(e.help)}</p><xp-verb .deck=${this.deck} .verb=${e}></xp-verb>`:this.map()}
    </dialog>`}map(){let{deck:e}=this;return a`<dl>${Ki.filter(t=>!t.verb||e.verb(t.verb)).map(t=>a`<dt>${t.keys}</dt><dd>${e.verb(t.verb)?.help??""}${t.text}</dd>`)}</dl>
      <h3>Verbs</h3>
      <p class="dim">Each opens to be done from here, and to be copied as programs say it.</p>
      ${e.verbs.map(t=>a`<details @toggle=${()=>this.requestUpdate()}><summary><b>${M(t.name)}</b><span class="dim">${t.help}</span></summary>${this.isOpen(t.name)?a`<xp-verb .deck=${e} .verb=${t}></xp-verb>`:h}</details>`)}`}isOpen(e){let t=this.deck.verbs.findIndex(r=>r.name===e);return this.renderRoot.querySelectorAll("details")[t]?.open??!1}};Te.styles=[$,v`
      dialog { background: var(--panel); color: var(--text); border: 1px solid var(--edge); border-radius: 0.5rem; padding: 0 1.25rem 1.25rem; width: min(60rem, calc(100vw - 2rem)); max-height: calc(100vh - 2rem); box-sizing: border-box; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      dialog::backdrop { background: rgb(0 0 0 / 0.6); }
      header { display: flex; align-items: center; gap: 1rem; position: sticky; top: 0; background: var(--panel); padding: 0.75rem 0 0.5rem; z-index: 1; }
      header button { margin-left: auto; }
      h2 { font-size: 1.125rem; }
      h3 { font-size: 1rem; color: var(--bright); margin: 0.5rem 0 0; }
      dl { display: grid; grid-template-columns: auto minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.35rem 1rem; margin: 0.5rem 0 1rem; font-size: 0.875rem; align-items: baseline; }
      dt { color: var(--bright); white-space: nowrap; }
      dd { margin: 0; }
      details { border-top: 1px solid var(--line); }
      summary { min-height: 2.75rem; display: flex; gap: 0.75rem; align-items: center; cursor: pointer; font-size: 0.9375rem; }
      summary::before { content: "+"; color: var(--dim); width: 0.75rem; }
      details[open] summary::before { content: "−"; }
      summary b { color: var(--bright); min-width: 9rem; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
      @media (max-width: 759px) { dl { grid-template-columns: auto minmax(0, 1fr); } summary b { min-width: 7rem; } }
    `],d([f()],Te.prototype,"only",2),d([T("dialog")],Te.prototype,"dialog",2),Te=d([b("xp-help")],Te);var it=class extends x{view(){let i=this.deck.state,e=P(i),{stale:t}=this.deck,r=ye(i);if(this.toggleAttribute("recording",e&&!t&&!r),this.toggleAttribute("stale",t),!i)return a`<div class="head"><span class="word">Connecting</span></div>`;if(!i.running)return a`<div class="head"><span class="word" role="status">Recorder not running</span></div>`;let n=ke(i),o=!e&&n<0,c=e?i.take_frames:o?i.clip_frames:n,l=e||o?re(i.medium_seconds_left):N(i.clip_frames-1-n,i.clip_rate),m=i.status==="playing"&&i.speed===0,u=(p,y)=>a`<div><div class="label">${p}</div><div class="figure">${y}</div></div>`;return a`
      <div class="head">
        <span class="word" role="status">${this.word((t?"was ":"")+(r?"waiting":m?"still":i.status))}</span>
        ${!e&&i.speed!==0&&i.status!=="stopped"?a`<span class="speed figure">${String(i.speed).replace("-","−")}×</span>`:h}
        <span class="format">${Pe?a`<b><bdi>${Pe}</bdi></b> `:h}<span class="dim">In</span> ${i.input_locked?i.input_format:a`<b class="none">${i.input_format==="unknown"?"unknown format":"no signal"}</b>`}<br /><span class="dim">Rec</span> ${B(i.record_codec)}</span>
      </div>
      <div class="middle">
        <div class="clip cut" title=${i.clip}>${r?r>0?`The take begins in ${N(r,i.clip_rate)}`:"The take waits for a picture":i.clip||"no clip"}</div>
        ${i.record_inhibited&&!e?a`<div class="inhibited cut" title=${i.record_inhibited}>Take refused: ${i.record_inhibited}</div>`:h}
      </div>
      <div class="fields">
        ${u(e?"Take":o?"Clip":"Played",N(Math.max(0,c),i.clip_rate))}
        ${u(e||o?"Room left":"To the end",l)}
        ${e&&(i.take_copies>1||i.safe_on_both>0)?u("Safe / on both",`${N(i.recorded_up_to,i.clip_rate)} / ${N(i.safe_on_both,i.clip_rate)}`):e?u("Safe on disk",N(i.recorded_up_to,i.clip_rate)):u(i.timecode_source==="generator"?"Generator":"Input timecode",i.input_timecode||"--:--:--:--")}
      </div>
    `}word(i){let e=B(i).replace(/ (fast|\d+x)$/,"");return e.charAt(0).toUpperCase()+e.slice(1)}};it.styles=[$,v`
      :host { background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); padding: 0.5rem 0.75rem; display: grid; grid-template-rows: auto 1fr auto; gap: 0.1rem; min-width: 0; }
      :host([recording]) { background: var(--red); color: var(--on-red); }
      :host([recording]) .dim, :host([recording]) .label, :host([recording]) .word, :host([recording]) .figure { color: var(--on-red); }
      .head { display: flex; align-items: baseline; gap: 0.75rem; min-width: 0; }
      .word { font-weight: 700; font-size: max(2rem, 2.6vw); line-height: 1.05; color: var(--bright); white-space: nowrap; letter-spacing: 0.01em; }
      .speed { font-size: 1.25rem; color: var(--bright); }
      .format { margin-left: auto; text-align: right; font-size: max(0.8125rem, 0.85vw); min-width: 0; }
      .middle { display: flex; gap: 0.75rem; align-items: baseline; justify-content: space-between; align-self: center; min-width: 0; }
      .clip { flex: 1 1 auto; font-size: max(1rem, 1.15vw); color: var(--bright); unicode-bidi: plaintext; }
      :host([recording]) .clip { color: var(--on-red); }
      .fields { display: grid; grid-template-columns: repeat(3, auto); justify-content: space-between; gap: 0.75rem; }
      .fields .label { font-size: max(0.6875rem, 0.7vw); }
      .fields .figure { font-size: max(1.0625rem, 1.1vw); color: var(--bright); line-height: 1.1; white-space: nowrap; }
      .inhibited { flex: 0 1 auto; color: var(--amber); font-size: 0.8125rem; }
      .none { color: var(--amber); }
      :host([recording]) .none { color: var(--on-red); }
      :host([stale]) .figure, :host([stale]) .clip, :host([stale]) .format, :host([stale]) .none { color: var(--dim); }
      @media (min-width: 1100px) {
        :host([big]) .word { font-size: 3.4vw; }
        :host([big]) .clip { font-size: 1.6vw; }
        :host([big]) .fields .figure { font-size: 1.5vw; }
        :host([big]) .label, :host([big]) .format { font-size: 1.1vw; }
      }
      @media (max-width: 1099px) {
        :host { padding: 0.5rem 0.6rem; }
        .word { font-size: 1.5rem; }
        .fields .figure { font-size: 0.9375rem; }
      }
    `],it=d([b("xp-state")],it);var rt=24,xs=60,De=class extends x{constructor(){super(...arguments);this.disabled=!1;this.angle=0;this.grip=null;this.rest=0}turn(e){if(this.disabled)return;this.angle+=e,this.renderRoot.querySelector("#wheel")?.setAttribute("transform",`rotate(${this.angle*360} 60 60)`),this.rest+=e*rt;let t=Math.trunc(this.rest);t!==0&&(this.rest-=t,this.deck.steps(t))}at(e){let t=e.currentTarget.getBoundingClientRect();return Math.atan2(e.clientY-t.top-t.height/2,e.clientX-t.left-t.width/2)/(2*Math.PI)}down(e){e.currentTarget.setPointerCapture(e.pointerId),this.grip=this.at(e)}move(e){if(this.grip===null)return;let t=this.at(e),r=t-this.grip;r-=Math.round(r),this.grip=t,this.turn(r)}wheel(e){e.preventDefault();let t=e.deltaMode===WheelEvent.DOM_DELTA_LINE?20:1;this.turn(e.deltaY*t/xs/rt)}keydown(e){let t={ArrowRight:1,ArrowUp:1,ArrowLeft:-1,ArrowDown:-1}[e.key];t!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(t*(e.shiftKey?10:1)/rt))}view(){let e=Array.from({length:rt},(t,r)=>r);return a`<svg viewBox="0 0 120 120" data-verb="step" role="slider" tabindex="0" aria-label="Jog wheel, a frame a notch" aria-valuenow=${this.deck.state?.frame??0} aria-valuemin="0"
      aria-valuemax=${Math.max(0,(this.deck.state?.clip_frames??1)-1)} aria-disabled=${this.disabled?"true":"false"}
      @pointerdown=${this.down} @pointermove=${this.move} @pointerup=${()=>this.grip=null} @pointercancel=${()=>this.grip=null} @wheel=${this.wheel} @keydown=${this.keydown}>
      <circle class="rim" cx="60" cy="60" r="58.5" />
      <g id="wheel" transform="rotate(0 60 60)">
        ${e.map(t=>this.mark(t))}
        <circle class="disc" cx="60" cy="60" r="46" />
        <circle class="dimple" cx="60" cy="30" r="10.5" />
      </g>
    </svg>`}mark(e){let t=e/rt*2*Math.PI-Math.PI/2,[r,n]=[Math.cos(t),Math.sin(t)];return _s(60+r*50,60+n*50,60+r*55.5,60+n*55.5,e%6===0?"mark big":"mark")}};De.styles=[$,v`
      :host { display: grid; place-items: center; min-height: 0; }
      svg { width: 100%; height: 100%; max-height: 100%; touch-action: none; cursor: grab; display: block; border-radius: 50%; aspect-ratio: 1; }
      svg:active { cursor: grabbing; }
      .rim { fill: var(--panel); stroke: var(--line); stroke-width: 1; }
      .disc { fill: var(--raised); stroke: var(--lifted); stroke-width: 1.5; }
      .dimple { fill: var(--ground); stroke: var(--lifted); stroke-width: 1; }
      .mark { stroke: var(--edge); stroke-width: 1; }
      .mark.big { stroke: var(--text); stroke-width: 1.5; }
    `],d([f({type:Boolean})],De.prototype,"disabled",2),De=d([b("xp-jog")],De);var _s=(s,i,e,t,r)=>I`<line class=${r} x1=${s} y1=${i} x2=${e} y2=${t} />`;var Es=600,st=class extends x{get frames(){return Math.max(1,this.deck.state?.clip_frames??1)}get used(){let{take_frames:i,clip_rate:e,medium_seconds_left:t}=this.deck.state??{take_frames:0,clip_rate:25,medium_seconds_left:0},r=i/(e||25);return t>0?r/(r+t):0}go(i){let e=i.currentTarget.getBoundingClientRect(),t=Math.min(1,Math.max(0,(i.clientX-e.left)/e.width));this.cue(Math.round(t*(this.frames-1)))}cue(i){let e=this.deck.state;!e?.running||P(e)||this.deck.run("cue",{where:String(Math.min(this.frames-1,Math.max(0,i)))})}keydown(i){let e={PageUp:.1,PageDown:-.1}[i.key];e!==void 0&&(i.preventDefault(),this.cue((this.deck.state?.frame??0)+Math.round(e*this.frames)))}updated(){let i=this.deck.state,e=P(i)?this.used:Math.min(1,Math.max(0,ke(i))/Math.max(1,this.frames-1));this.renderRoot.querySelector(".done")?.style.setProperty("transform",`scaleX(${e})`),this.renderRoot.querySelector(".head")?.style.setProperty("left",`${e*100}%`)}view(){let i=this.deck.state,e=P(i),t=ke(i),r=Math.max(0,t);return a`<span class="cut figure">${e?"Room used":t<0?"Frame -":`Frame ${r}`}</span><div
      class="bar" data-verb="cue" role="slider" tabindex="0" aria-label=${e?"Room used by the take":"Position in the clip"} aria-valuemin="0" aria-valuemax=${this.frames-1} aria-valuenow=${e?0:Math.min(r,this.frames-1)}
      aria-valuetext=${e?"recording":`frame ${r} of ${this.frames}`} aria-disabled=${e?"true":"false"} @pointerdown=${this.go} @keydown=${this.keydown}
    >
      <div class="done ${e&&(i?.medium_seconds_left??0)>0&&(i?.medium_seconds_left??0)<Es?"warn":""}"></div>
      <div class="head" ?hidden=${t<0}></div>
    </div><span class="length figure">${e?`${Math.floor(100*this.used)} %`:N(this.frames,i?.clip_rate??25)}</span>`}};st.styles=[$,v`
      :host { height: 1.5rem; display: grid; grid-template-columns: 6.5rem minmax(0, 1fr) 5.5rem; gap: 0.5rem; align-items: center; font-size: 0.75rem; color: var(--dim); }
      .length { text-align: right; }
      @media (max-width: 1099px) { :host { height: auto; grid-template-columns: 1fr auto; } .bar { grid-area: 1 / 1 / 2 / 3; height: 1.75rem !important; } .length { grid-column: 2; } }
      .bar { position: relative; height: 100%; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); overflow: hidden; cursor: pointer; touch-action: none; }
      .bar[aria-disabled="true"] { cursor: default; }
      .done { position: absolute; inset: 0; background: var(--lifted); transform-origin: left; }
      .done.warn { background: var(--amber); opacity: 0.5; }
      .head { position: absolute; top: 0; bottom: 0; width: 0.1875rem; margin-left: -0.09rem; background: var(--bright); }
    `],st=d([b("xp-position")],st);var Ft=[0,.1,.25,.5,1,2,4,8,16,32],ue=class extends x{constructor(){super(...arguments);this.disabled=!1;this.pulled=0;this.speed=0}pull(e){if(this.disabled)return;this.pulled=Math.min(1,Math.max(-1,e));let t=Math.sign(this.pulled)*Ft[Math.round(Math.abs(this.pulled)*(Ft.length-1))];t!==this.speed&&(this.speed=t,this.deck.speed(t))}move(e){let t=e.currentTarget;if(e.type==="pointerdown"&&t.setPointerCapture(e.pointerId),!t.hasPointerCapture(e.pointerId))return;let r=t.getBoundingClientRect();this.pull((e.clientX-r.left)/r.width*2-1)}let(){this.pulled!==0&&(this.pulled=0,this.speed=0,this.deck.speed(0))}keydown(e){let t={ArrowRight:1,ArrowLeft:-1}[e.key];t!==void 0&&(e.preventDefault(),e.stopPropagation(),this.pull(this.pulled+t/(Ft.length-1)))}updated(){this.renderRoot.querySelector(".knob")?.style.setProperty("left",`calc(50% + ${this.pulled} * (50% - 1.25rem))`)}view(){return a`<div class="track" data-verb="play" role="slider" tabindex="0" aria-label="Shuttle" aria-valuemin="-32" aria-valuemax="32" aria-valuenow=${this.speed}
      aria-valuetext=${this.speed===0?"still":`${this.speed} times`} aria-disabled=${this.disabled?"true":"false"} title="Shuttle: pull and let go; the picture then holds"
      @pointerdown=${this.move} @pointermove=${this.move} @pointerup=${this.let} @pointercancel=${this.let} @keydown=${this.keydown} @keyup=${this.let} @blur=${this.let}>
      <div class="marks" aria-hidden="true"><span>32</span><span>8</span><span>2</span><span>½</span><span>0</span><span>½</span><span>2</span><span>8</span><span>32</span></div>
      <div class="knob"></div>
    </div>`}};ue.styles=[$,v`
      .track { position: relative; height: 100%; min-height: 2.75rem; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); touch-action: none; cursor: ew-resize; overflow: hidden; }
      .marks { position: absolute; inset: auto 0 0.2rem 0; display: flex; justify-content: space-between; padding: 0 0.5rem; font-size: 0.625rem; color: var(--dim); pointer-events: none; }
      .knob { position: absolute; top: 0.25rem; bottom: 1.1rem; width: 2.25rem; left: 50%; margin-left: -1.125rem; background: var(--lifted); border: 1px solid var(--edge); border-radius: var(--round); pointer-events: none; }
      .knob::after { content: ""; position: absolute; left: 50%; top: 20%; bottom: 20%; border-left: 2px solid var(--bright); margin-left: -1px; }
      .track[aria-disabled="true"] { cursor: default; }
      .now { position: absolute; top: 0.35rem; right: 0.6rem; font-size: 0.8125rem; color: var(--bright); pointer-events: none; }
    `],d([f({type:Boolean})],ue.prototype,"disabled",2),d([g()],ue.prototype,"pulled",2),d([g()],ue.prototype,"speed",2),ue=d([b("xp-shuttle")],ue);var Kt=s=>s!=="stopped"&&s!=="recording",As=[{verb:"record",label:"Record",icon:"record",wide:!0,lit:s=>s==="recording"},{verb:"stop",label:"Stop",icon:"stop",wide:!0,lit:s=>s==="stopped"},{verb:"play",label:"Reverse",icon:"reverse",values:{speed:-1},lit:(s,i)=>Kt(s)&&i<0},{verb:"still",label:"Still",icon:"still",lit:(s,i)=>Kt(s)&&i===0},{verb:"play",label:"Play",icon:"play",wide:!0,values:{speed:1},lit:(s,i)=>Kt(s)&&i>0},{verb:"prev",label:"Previous",icon:"prev"},{verb:"next",label:"Next",icon:"next"}],Ms=[-10,-1,1,10],He=class extends x{focusTimecode(){this.where.focus(),this.where.select()}follows(){let{state:i}=this.deck;return[i?.running,i?.status,i?.speed,this.deck.stale,this.deck.pending,this.deck.verbs]}view(){let i=this.deck.state,e=P(i),t=!i?.running||this.deck.stale;return a`
      <xp-position .deck=${this.deck}></xp-position>
      <div class="keys" role="toolbar" aria-label="Transport">${As.map((r,n)=>this.key(r,e,t,n===4))}</div>
      <div class="second">
        <div class="steps" role="group" aria-label="Step">
          ${Ms.map(r=>a`<xp-key verb="step" label=${r>0?`+${r}`:`−${-r}`} hint=${`${Math.abs(r)} frame${Math.abs(r)>1?"s":""} ${r>0?"on":"back"}`}
              ?disabled=${t} @press=${()=>this.deck.steps(r)}></xp-key>`)}
        </div>
        <xp-shuttle .deck=${this.deck} ?disabled=${t}></xp-shuttle>
        <form data-verb="cue" @submit=${this.cue}>
          <input id="where" aria-label="Timecode or frame to cue to" placeholder="hh:mm:ss:ff" autocomplete="off" spellcheck="false" inputmode="numeric" maxlength="32" />
          <button ?disabled=${t} title=${this.deck.verb("cue")?.help??h}>Cue</button>
        </form>
      </div>
      <xp-jog .deck=${this.deck} ?disabled=${t}></xp-jog>
    `}key(i,e,t,r){let n=this.deck.verb(i.verb);if(this.deck.verbs.length&&!n)return h;let o=this.deck.state,c=!t&&!!o&&!!i.lit?.(o.status,o.speed);return a`<xp-key
      class="${i.wide?"wide":""} ${r?"third":""}"
      verb=${i.verb}
      label=${i.verb==="stop"&&e?"Hold to stop":i.label}
      hint=${`${i.label}: ${n?.help??""}`}
      icon=${i.icon}
      ?red=${i.verb==="record"}
      ?lit=${c}
      ?toggle=${!!i.lit}
      ?pending=${this.deck.pending.has(i.verb)}
      ?hold=${i.verb==="stop"&&e}
      ?disabled=${t}
      @press=${()=>{this.deck.run(i.verb,i.values)}}
      @toobrief=${()=>this.deck.tell({kind:"lost",title:"Still recording",text:"To end the take, hold the key for a second."})}
    ></xp-key>`}cue(i){i.preventDefault();let e=Ts(this.where.value);e&&(this.where.blur(),this.deck.run("cue",{where:e}).then(t=>t.done||this.where.focus()))}};He.styles=[$,v`
      :host { display: grid; grid-template-columns: minmax(0, 1fr) auto; grid-template-rows: auto 1fr 1fr; gap: var(--gap); }
      xp-position { grid-column: 1 / -1; }
      .keys { display: grid; grid-template-columns: 1.5fr 1.5fr 1fr 1fr 1.5fr 1fr 1fr; gap: 0.25rem; min-height: 3.75rem; }
      .second { display: grid; grid-template-columns: auto minmax(8rem, 1fr) auto; gap: 0.75rem; align-items: stretch; min-height: 3.25rem; }
      .steps { display: grid; grid-template-columns: repeat(4, 2.75rem); gap: 0.25rem; }
      xp-jog { grid-column: 2; grid-row: 2 / 4; width: 8.5rem; align-self: stretch; }
      form { display: grid; grid-template-columns: 9.5rem auto; gap: 0.25rem; align-items: stretch; }
      form input { font-size: 1.125rem; font-weight: 700; text-align: center; padding: 0 0.25rem; min-height: 2.75rem; }
      form button { padding: 0 0.7rem; }
      @media (max-width: 1099px) {
        :host { grid-template-columns: minmax(0, 1fr); grid-template-rows: none; }
        .keys { grid-template-columns: repeat(10, 1fr); }
        .keys xp-key { min-height: 3.25rem; grid-column: span 2; }
        .keys xp-key.wide { grid-column: span 5; min-height: 4.25rem; }
        .keys xp-key.wide.third { grid-column: span 2; min-height: 3.25rem; }
        :host(:not([more])) .second, :host(:not([more])) xp-jog { display: none; }
        .second { grid-template-columns: minmax(0, 1fr); gap: 0.5rem; }
        .steps { grid-template-columns: repeat(4, 1fr); min-height: 2.75rem; }
        xp-shuttle { min-height: 3.25rem; }
        form { grid-template-columns: minmax(0, 1fr) auto; }
        xp-jog { grid-column: 1; grid-row: auto; width: 11rem; height: 11rem; justify-self: center; }
      }
    `],d([T("#where")],He.prototype,"where",2),He=d([b("xp-transport")],He);function Ts(s){let i=s.trim();return i.startsWith("#")?i.slice(1).trim():/^\d{1,8}$/.test(i)?i.padStart(8,"0").replace(/^(..)(..)(..)(..)$/,"$1:$2:$3:$4"):i.replaceAll(".",":")}var Ps=60;function At(s){if(!s)return"";let i=s.medium_seconds_left;return P(s)&&i>0&&i<Ps?`Room for ${Math.floor(i)} s. The take ends then.`:P(s)&&!s.input_locked?"No signal on the input.":s.status==="stopped"&&s.input_format==="unknown"?"This picture cannot be recorded: its format is not known.":s.status==="stopped"&&s.record_format==="not_recordable"?"This picture has a format that cannot be recorded.":s.store_problem?`The store cannot be reached: ${s.store_problem}`:""}var Mt=s=>!!s?.running&&s.status==="stopped"&&s.input_format==="none";var Vt=matchMedia("(max-width: 1099px)"),Gi=()=>/^#\/(?!kiosk|wall)\w/.test(location.hash),D=class extends A{constructor(){super(...arguments);this.deck=new Ce;this.age=wi();this.kiosk=location.hash.startsWith("#/kiosk");this.delay=null;this.open=Vt.matches&&Gi();this.more=!1;this.end=()=>{};this.spoken=0;this.menu=e=>{let t=e.composedPath(),r=this.verbUnder(e);if(!r||t[0]instanceof HTMLInputElement)return;e.preventDefault(),t.some(o=>o instanceof z?o.isHeld:o instanceof Element&&o.getAttribute("role")==="slider"&&e.pointerType==="touch")||this.help.show(r)};this.moved=()=>{this.kiosk=location.hash.startsWith("#/kiosk"),Vt.matches&&Gi()&&(this.open=!0)}}connectedCallback(){super.connectedCallback(),this.deck.subscribe(()=>this.requestUpdate()),this.deck.onlink=()=>this.picture.link.renew(),this.deck.start(),addEventListener("hashchange",this.moved),this.addEventListener("xp-forms",e=>this.help.show(e.verb)),this.addEventListener("contextmenu",this.menu),this.end=Vi(this.deck,{holdStop:()=>this.stopKey?.begin(),releaseStop:()=>this.stopKey?.end(),focusTimecode:()=>this.transport.focusTimecode(),mark:()=>this.column.mark(),kiosk:()=>location.hash=this.kiosk?"#/clips":"#/kiosk",help:e=>this.help.show(this.verbUnder(e)),tab:e=>this.column.turn(e)})}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved),this.deck.stop(),this.end()}verbUnder(e){for(let t of e.composedPath()){if(t===this)break;let r=t instanceof HTMLElement||t instanceof SVGElement?t.dataset.verb??t.getAttribute("verb"):null;if(r)return r}return""}close(){this.open=!1,history.replaceState(null,"",location.pathname+location.search)}get stopKey(){return this.transport.renderRoot.querySelector('xp-key[verb="stop"]')}firstUpdated(){this.picture.link.start(),this.picture.addEventListener("xp-frame",e=>this.painted(e))}painted(e){let{frame:t}=e;if(this.deck.pictureSeen(),this.timecode.value=t.timecode,this.meter.show(t.meters),t.loudness&&this.spoken++%4===0&&this.tellLoudness(t.loudness),this.deck.clockOffset===null||!t.captured||t.isRepeat)return;let r=this.age.add(performance.now()+this.deck.clockOffset-t.captured);r!==null&&(this.delay=r)}tellLoudness(e){["#momentary","#short"].forEach((t,r)=>{let n=this.renderRoot.querySelector(t);n&&(n.textContent=e[r]<=-70?"-":e[r].toFixed(1).replace("-","−"))})}updated(){this.toggleAttribute("kiosk",this.kiosk),document.title=this.pageTitle()}pageTitle(){let{state:e,stale:t}=this.deck,r=Pe||"Recorder";return t||!e?`! ${r}`:P(e)&&!ye(e)?`● ${Pe} Recording ${e.clip}`:`${r}: ${e.status.replaceAll("_"," ")}`}banner(e){let{deck:t}=this,r=(t.frozen/1e3).toFixed(1),n=t.stale?`No link to the recorder for ${r} s. Nothing here is live.`:e?"The recorder is not running.":t.frozen?`No pictures for ${r} s. Picture, timecode and meters are not live.`:At(t.state);return n?a`<div class="banner" role="alert">${n}</div>`:h}render(){let{deck:e}=this,t=P(e.state)&&!e.stale&&!ye(e.state),r=e.state?.running===!1;return a`
      <h1 class="hidden">Recorder</h1>
      <div class="time"><xp-timecode ?recording=${t} .age=${r?Number.EPSILON:e.frozen}></xp-timecode></div>
      <xp-state .deck=${e} ?big=${this.kiosk}></xp-state>
      <div class="view">
        <div class="frame ${t?"recording":""}">
          <xp-picture id="picture" ?stale=${e.frozen>0||r}></xp-picture>
          ${!e.frozen&&Mt(e.state)?a`<div class="nosignal">No signal on the input<a href="#/settings/video_input">Choose another input</a></div>`:h}
          ${this.kiosk?a`<a class="leave" href="#">Back to the deck</a>`:h}
          ${this.banner(r)} ${e.me.role==="nobody"?a`<div class="login"><xp-login .deck=${e}></xp-login></div>`:h}
        </div>
        <div class="sound">
        <xp-meter ?stale=${e.frozen>0||r} ?flat=${Vt.matches}></xp-meter>
        <div class="loudness ${e.frozen>0||r?"stale":""}" title="Loudness in LUFS: momentary (the last 400 ms) and short-term (the last three seconds)"><span class="label">LUFS</span><span><span class="label">M</span> <span id="momentary" class="figure">-</span></span><span><span class="label">S</span> <span id="short" class="figure">-</span></span></div>
        </div>
      </div>
      <xp-transport .deck=${e} ?more=${this.more}></xp-transport>
      <div class="more">
        <button aria-expanded=${this.more?"true":"false"} @click=${()=>this.more=!this.more}>Jog, shuttle, cue</button>
        <button @click=${()=>this.open=!0}>Clips, settings…${e.state?.alarms?a` <b>! ${e.state.alarms}</b>`:h}</button>
      </div>
      <xp-column class=${this.open?"open":""} .deck=${e} @xp-close=${()=>this.close()}></xp-column>
      <xp-health .deck=${e} .delay=${r?null:this.delay} ?big=${this.kiosk}></xp-health>
      <xp-help .deck=${e}></xp-help>
      ${e.notice?a`<div class="notice" role="alert"><span><b>${e.notice.title}.</b> ${xe(e.notice.text)}${e.notice.link?a` <a href=${e.notice.link.href}>${e.notice.link.text}</a>`:h}</span><button class="small" @click=${()=>e.tell(null)}>Close</button></div>`:h}
    `}};D.styles=[$,v`
      :host { box-sizing: border-box; display: grid; height: 100vh; height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden;
        grid-template-columns: minmax(0, 1fr) min(31rem, 38.75vw); grid-template-rows: auto minmax(0, 1fr) auto 3.25rem; grid-template-areas: "time state" "view column" "keys column" "health health"; }
      .time { grid-area: time; display: flex; align-items: center; justify-content: center; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; overflow: hidden; padding: 0.3rem 0; }
      xp-timecode { font-size: min(9.7vw, 15.52rem); }
      xp-state { grid-area: state; }
      .view { grid-area: view; display: grid; grid-template-columns: auto minmax(0, 20rem); justify-content: center; gap: var(--gap); min-height: 0; container-type: size; }
      .frame { position: relative; border: 0.25rem solid var(--line); border-radius: var(--round); background: #000; box-sizing: border-box; width: min(100cqw - 8rem, (100cqh - 0.5rem) * 16 / 9 + 0.5rem); max-height: 100%; aspect-ratio: auto; height: min(100cqh, (100cqw - 8.5rem) * 9 / 16 + 0.5rem); align-self: center; }
      .frame.recording { border-color: var(--red); }
      xp-picture { position: absolute; inset: 0; }
      .banner { position: absolute; inset: auto 0 0 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.5rem 0.75rem; text-align: center; }
      .nosignal { position: absolute; inset: 0; display: grid; place-content: center; justify-items: center; gap: 0.4rem; font-size: max(1.25rem, 3.2cqw); font-weight: 700; color: var(--bright); }
      .nosignal a { font-size: 0.9375rem; font-weight: 400; color: var(--text); min-height: 2.75rem; line-height: 2.75rem; }
      .leave { position: absolute; inset: 0 0 auto auto; background: var(--panel); color: var(--text); padding: 0 1rem; line-height: 2.75rem; opacity: 0; }
      .frame:hover .leave, .leave:focus-visible { opacity: 1; }
      @media (hover: none) { .leave { opacity: 1; } }
      .login { position: absolute; inset: 0; display: grid; place-content: center; background: var(--panel); padding: 1rem; }
      .sound { display: grid; grid-template-rows: minmax(0, 1fr) auto; background: var(--panel); box-shadow: var(--rim); border-radius: var(--round); min-width: 0; }
      xp-meter { margin: 0.4rem; }
      .loudness { display: grid; grid-template-columns: auto 1fr 1fr; gap: 0.4rem; align-items: baseline; padding: 0 0.6rem 0.4rem; font-size: 0.8125rem; text-align: right; color: var(--bright); white-space: nowrap; }
      .loudness.stale .figure { color: var(--dim); }
      xp-transport { grid-area: keys; }
      xp-column { grid-area: column; min-height: 0; }
      xp-health { grid-area: health; }
      .notice { grid-area: view; align-self: end; justify-self: center; max-width: 36rem; margin: 0.75rem; background: var(--bright); color: var(--on-bright); border-radius: var(--round); padding: 0.6rem 0.75rem; display: flex; gap: 1rem; align-items: center; justify-content: space-between; z-index: 4; box-shadow: 0 0.5rem 2rem rgb(0 0 0 / 0.6); }
      .notice a { color: inherit; font-weight: 700; }
      .notice button { background: transparent; color: inherit; border-color: currentColor; }
      .more { display: none; }
      xp-help { position: absolute; }

      :host([kiosk]) { grid-template-columns: minmax(0, 1fr) minmax(24rem, 32vw); grid-template-rows: auto minmax(0, 1fr) auto; grid-template-areas: "time state" "view view" "health health"; }
      :host([kiosk]) xp-transport, :host([kiosk]) xp-column { display: none; }
      :host([kiosk]) xp-timecode { font-size: 10.8vw; }
      :host([kiosk]) xp-health { min-height: 3.25rem; }

      @media (max-width: 1099px) {
        :host { height: auto; min-height: 100dvh; overflow: visible; grid-template-columns: minmax(0, 1fr); grid-template-rows: none; grid-template-areas: "state" "time" "view" "keys" "more" "column" "health"; padding: 0.375rem; gap: 0.375rem; align-content: start; }
        xp-timecode { font-size: min(16vw, 7rem); }
        .view { grid-template-columns: minmax(0, 1fr); container-type: normal; }
        .frame { box-sizing: content-box; width: calc(min(100%, 56vh * 16 / 9) - 0.5rem); height: auto; max-height: none; aspect-ratio: 16 / 9; justify-self: center; }
        xp-meter { height: 5rem; }
        .more { grid-area: more; display: grid; grid-template-columns: 1fr 1fr; gap: 0.25rem; }
        .more button { min-height: 3rem; }
        .notice { position: fixed; inset: auto 0.5rem 0.5rem; margin: 0; }
        xp-column { display: none; }
        xp-column.open { display: block; position: fixed; inset: 0; z-index: 3; }
        :host([kiosk]) { grid-template-columns: minmax(0, 1fr); grid-template-rows: none; grid-template-areas: "state" "time" "view" "health"; }
        :host([kiosk]) xp-timecode { font-size: min(16vw, 7rem); }
        :host([kiosk]) .more { display: none; }
      }
      @media (min-width: 760px) and (max-width: 1099px) {
        :host(:not([kiosk])) { grid-template-columns: minmax(0, 1fr) 19.5rem; grid-template-areas: "time state" "view view" "keys keys" "more more" "column column" "health health"; }
        :host(:not([kiosk])) xp-timecode { font-size: calc((100vw - 21rem) * 0.158); }
        .frame { width: calc(min(100%, 44vh * 16 / 9) - 0.5rem); }
      }
      @media (max-width: 359px) { .time { overflow-x: auto; } }
    `],d([g()],D.prototype,"kiosk",2),d([g()],D.prototype,"delay",2),d([g()],D.prototype,"open",2),d([g()],D.prototype,"more",2),d([T("xp-timecode")],D.prototype,"timecode",2),d([T("xp-meter")],D.prototype,"meter",2),d([T("xp-picture")],D.prototype,"picture",2),d([T("xp-column")],D.prototype,"column",2),d([T("xp-help")],D.prototype,"help",2),d([T("xp-transport")],D.prototype,"transport",2),D=d([b("xp-panel")],D);var Ji=(s,i,e)=>{let t=new Map;for(let r=i;r<=e;r++)t.set(s[r],r);return t},Yi=yt(class extends ze{constructor(s){if(super(s),s.type!==oe.CHILD)throw Error("repeat() can only be used in text expressions")}dt(s,i,e){let t;e===void 0?e=i:i!==void 0&&(t=i);let r=[],n=[],o=0;for(let c of s)r[o]=t?t(c,o):o,n[o]=e(c,o),o++;return{values:n,keys:r}}render(s,i,e){return this.dt(s,i,e).values}update(s,[i,e,t]){let r=Bi(s),{values:n,keys:o}=this.dt(i,e,t);if(!Array.isArray(r))return this.ut=o,n;let c=this.ut??=[],l=[],m,u,p=0,y=r.length-1,k=0,w=n.length-1;for(;p<=y&&k<=w;)if(r[p]===null)p++;else if(r[y]===null)y--;else if(c[p]===o[k])l[k]=me(r[p],n[k]),p++,k++;else if(c[y]===o[w])l[w]=me(r[y],n[w]),y--,w--;else if(c[p]===o[w])l[w]=me(r[p],n[w]),Le(s,l[w+1],r[p]),p++,w--;else if(c[y]===o[k])l[k]=me(r[y],n[k]),Le(s,r[p],r[y]),y--,k++;else if(m===void 0&&(m=Ji(o,k,w),u=Ji(c,p,y)),m.has(c[p]))if(m.has(c[y])){let E=u.get(o[k]),S=E!==void 0?r[E]:null;if(S===null){let K=Le(s,r[p]);me(K,n[k]),l[k]=K}else l[k]=me(S,n[k]),Le(s,r[p],S),r[E]=null;k++}else xt(r[y]),y--;else xt(r[p]),p++;for(;k<=w;){let E=Le(s,l[w+1]);me(E,n[k]),l[k++]=E}for(;p<=y;){let E=r[p++];E!==null&&xt(E)}return this.ut=o,kt(s,l),H}});var Wt={least:1500,most:5e3,ofAsking:3};async function Zi(s){let i=performance.now(),e=await Promise.all(s.map(({deck:u})=>u.ready())),t=Math.min(Wt.most,Math.max(Wt.least,Wt.ofAsking*(performance.now()-i))),r=s.flatMap(({name:u},p)=>e[p]?[`${u}: ${e[p]}`]:[]);if(r.length)return`No take was begun. ${r.join(" ")}`;let n=s[0].deck.clockOffset;if(n===null)return"No take was begun. The recorder's clock is not known yet; try again in a moment.";let o=new Date(performance.now()+n+t).toISOString(),c=await Promise.all(s.map(({deck:u})=>u.run("record",{start:o}))),l=s.flatMap(({name:u},p)=>c[p].done?[]:[`${u}: ${L(c[p].sentence)}`]);if(!l.length)return"";let m=s.filter((u,p)=>c[p].done);return await Gt(m),`${l.join(" ")} ${m.length?"The takes of the others were ended.":"No take was begun."}`}async function Gt(s){await Promise.all(s.map(({deck:i})=>i.run("stop")))}function Qi(s){let i=s.map(({deck:n})=>n.state).filter(n=>P(n)&&n?.take_start);if(i.length<2)return"";let e=i.map(n=>n?.take_start??0),t=Math.max(...e)-Math.min(...e),r=Math.round(t/1e6*Math.max(...i.map(n=>n?.clip_rate??0)));return r===0?"All begin with the same frame.":`First frames ${r} ${r===1?"frame":"frames"} (${(t/1e3).toFixed(0)} ms) apart.`}var J=class extends A{constructor(){super(...arguments);this.at="";this.name="";this.told="";this.ganged=!1;this.deck=null;this.gang=e=>{this.ganged=e.target.checked,this.dispatchEvent(new Event("xp-gang",{bubbles:!0,composed:!0}))}}get within(){return this.at&&`${this.at}/`}connectedCallback(){super.connectedCallback(),this.deck=new Ce(this.within),this.deck.subscribe(()=>this.requestUpdate()),this.deck.onlink=()=>this.picture.link.renew(),this.deck.start()}disconnectedCallback(){super.disconnectedCallback(),this.deck?.stop()}firstUpdated(){this.picture.link.at=this.within,this.picture.link.start(),this.picture.addEventListener("xp-frame",e=>{this.deck?.pictureSeen(),this.timecode.value=e.frame.timecode})}get link(){let e=[Ne,this.at].filter(Boolean).join("/");return`${location.pathname}${e?`?at=${encodeURI(e)}`:""}#/clips`}banner(e,t){return e.stale?`${this.told||`No link for ${(e.frozen/1e3).toFixed(0)} s.`} Nothing here is live.`:t?"The recorder is not running.":e.frozen?`No pictures for ${(e.frozen/1e3).toFixed(0)} s.`:e.notice?`${e.notice.title}. ${e.notice.text}`:Mt(e.state)?"No signal on the input.":At(e.state)}render(){let e=this.deck;if(!e)return h;let{state:t}=e,r=P(t)&&!e.stale,n=t?.running===!1,o=e.stale||!t?.running,c=ye(t)!==0;this.toggleAttribute("recording",r&&!c);let l=this.banner(e,n),m=t?n?"Not running":M((e.stale?"was ":"")+(c?"waiting":t.status)):"Connecting";return a`
      <xp-picture ?stale=${e.frozen>0||n}></xp-picture>
      ${l?a`<div class="banner" role="alert">${l}</div>`:h}
      <div class="head">
        <span class="name cut"><bdi>${this.name}</bdi></span>
        <xp-timecode ?recording=${r&&!c} .age=${n?Number.EPSILON:e.frozen}></xp-timecode>
        <span class="word" role="status">${m}</span>
      </div>
      <div class="foot">
        <span class="about">${t&&!o?a`<bdi class="cut">${t.clip||"no clip"}</bdi><span>${re(t.medium_seconds_left)} left</span>${t.alarms?a`<span class="alarms">! ${t.alarms} ${t.alarms===1?"alarm":"alarms"}</span>`:h}`:h}</span>
        <label class="gang"><input type="checkbox" .checked=${this.ganged} @change=${this.gang} />Gang<span class="hidden"> ${this.name}</span></label>
        <xp-key verb="record" label="Record" red ?lit=${r} toggle ?pending=${e.pending.has("record")} ?disabled=${o} @press=${()=>{e.run("record")}}></xp-key>
        <xp-key verb="stop" label=${r?"Hold to stop":"Stop"} ?hold=${r} ?pending=${e.pending.has("stop")} ?disabled=${o} @press=${()=>{e.run("stop")}}
          @toobrief=${()=>e.tell({kind:"lost",title:"Still recording",text:"To end the take, hold the key for a second."})}></xp-key>
        <a href=${this.link}>Open<span class="hidden"> ${this.name}</span></a>
      </div>
    `}};J.styles=[$,v`
      :host { position: relative; display: grid; grid-template: minmax(0, 1fr) auto auto / minmax(0, 1fr); background: var(--panel); border: 0.25rem solid var(--line); border-radius: var(--round); min-height: 0; min-width: 0; overflow: hidden; container-type: inline-size; }
      :host([recording]) { border-color: var(--red); }
      xp-picture { min-height: 0; min-width: 0; }
      .banner { position: absolute; inset: 0 0 auto 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.4rem 0.75rem; text-align: center; }
      .head { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0 1rem; align-items: center; padding: 0.4rem 0.75rem 0; }
      .name { font-weight: 700; color: var(--bright); font-size: max(1rem, 3.2cqw); }
      .word { font-size: max(0.875rem, 2.6cqw); }
      :host([recording]) .word { background: var(--red); color: var(--on-red); border-radius: var(--round); padding: 0 0.5em; font-weight: 700; justify-self: start; }
      .gang { display: flex; align-items: center; gap: 0.4rem; min-height: 2.75rem; }
      .gang input { width: 1.25rem; height: 1.25rem; margin: 0; accent-color: var(--bright); }
      .alarms { color: var(--amber); font-weight: 700; }
      xp-timecode { font-size: 9cqw; grid-row: 1 / 3; grid-column: 2; }
      .foot { display: grid; grid-template-columns: minmax(0, 1fr) auto auto auto auto; gap: 0.25rem 0.5rem; padding: 0.4rem 0.5rem 0.5rem 0.75rem; align-items: center; }
      .about { display: flex; gap: 0.75rem; min-width: 0; white-space: nowrap; }
      xp-key { width: 6.5rem; height: 2.75rem; }
      .foot a { display: grid; place-content: center; min-height: 2.75rem; padding: 0 0.75rem; }
      @media (max-width: 759px) { xp-picture { aspect-ratio: 16 / 9; } }
      @container (max-width: 27rem) {
        .foot { grid-template-columns: auto minmax(0, 1fr) minmax(0, 1fr) auto; padding-left: 0.5rem; }
        .about { grid-column: 1 / -1; padding-left: 0.25rem; }
        xp-key { width: auto; }
        .foot a { padding: 0 0.25rem; }
      }
    `],d([f()],J.prototype,"at",2),d([f()],J.prototype,"name",2),d([f()],J.prototype,"told",2),d([T("xp-picture")],J.prototype,"picture",2),d([T("xp-timecode")],J.prototype,"timecode",2),d([f({type:Boolean,reflect:!0})],J.prototype,"ganged",2),J=d([b("xp-tile")],J);var Ss=5e3,Cs=500,X=class extends A{constructor(){super(...arguments);this.places=[];this.problem="";this.members=[];this.busy=!1;this.gangProblem="";this.timer=0;this.gangTimer=0;this.gather=()=>{let e=[...this.renderRoot.querySelectorAll("xp-tile")];this.members=e.flatMap(({name:t,deck:r,ganged:n})=>n&&r?[{name:t,deck:r}]:[]),clearInterval(this.gangTimer),this.members.length>1&&(this.gangTimer=window.setInterval(()=>this.requestUpdate(),Cs))}}connectedCallback(){super.connectedCallback(),document.title="Recorders",this.look(),this.timer=window.setInterval(()=>{this.look()},Ss)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer),clearInterval(this.gangTimer)}async look(){let e=await R("fleet");if(e instanceof _){this.problem=e.status===404?"":e.sentence,e.status===404&&!this.places.length&&(this.places=[{at:"",name:"This recorder",told:""}]);return}this.problem="";let t=(e.channels??[]).map(({channel:c,panel:l})=>({at:c===1?"":`channels/${c}`,name:`Channel ${c}`,told:l?"":"Its panel does not run."})),r=(e.machines??[]).flatMap(c=>{let l=`machines/${encodeURIComponent(c.name)}`,m=c.state==="ready"?"":c.problem?`${c.name}: ${L(c.problem)}`:`This machine is ${c.state.replaceAll("_"," ")}.`,u=c.channels?.length?c.channels:[{channel:1,panel:!0}];return u.map(({channel:p})=>({at:p===1?l:`${l}/channels/${p}`,name:u.length>1?`${c.name}, channel ${p}`:c.name,told:m}))}),n=[...t,...r],o=this.places.filter(c=>!n.some(l=>l.at===c.at)).map(c=>({...c,told:"It is not told of any more."}));this.places=[...n,...o].sort((c,l)=>c.name.localeCompare(l.name,"en",{numeric:!0}))}async together(e){this.busy=!0,this.gangProblem="",this.gangProblem=await e||"",this.busy=!1}gangBar(){if(this.members.length<2)return h;let e=this.members.some(({deck:t})=>t.state?.status==="recording");return a`
      <span>${this.members.length} ganged</span>
      <xp-key label="Record all" red ?pending=${this.busy} ?disabled=${this.busy||e} @press=${()=>{this.together(Zi(this.members))}}></xp-key>
      <xp-key label=${e?"Hold to stop":"Stop all"} ?hold=${e} ?disabled=${this.busy} @press=${()=>{this.together(Gt(this.members))}}></xp-key>
      <span role="status">${Qi(this.members)}</span>
      ${this.gangProblem?a`<span role="alert">${this.gangProblem}</span>`:h}
    `}updated(){let e=Math.ceil(Math.sqrt(this.places.length||1));this.renderRoot.querySelector(".tiles")?.style.setProperty("--columns",String(e))}render(){return a`
      <header><h1>Recorders</h1>${this.problem?a`<span role="alert">${this.problem}</span>`:h}${this.gangBar()}<a href="#/clips">Back to one recorder</a></header>
      <div class="tiles" @xp-gang=${this.gather}>${Yi(this.places,e=>e.at,e=>a`<xp-tile at=${e.at} name=${e.name} told=${e.told}></xp-tile>`)}</div>
    `}};X.styles=[$,v`
      :host { box-sizing: border-box; display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden; }
      header { display: flex; align-items: center; gap: 0.5rem 1rem; flex-wrap: wrap; }
      header xp-key { width: 6.5rem; height: 2.75rem; }
      header a { margin-left: auto; min-height: 2.75rem; line-height: 2.75rem; padding: 0 0.75rem; }
      h1 { font-size: 1.125rem; color: var(--bright); margin: 0; padding-left: 0.25rem; }
      .tiles { display: grid; gap: var(--gap); min-height: 0; grid-auto-rows: minmax(0, 1fr); grid-template-columns: repeat(var(--columns, 1), minmax(0, 1fr)); }
      @media (max-width: 759px) {
        :host { height: auto; overflow: visible; }
        .tiles { grid-template-columns: minmax(0, 1fr); grid-auto-rows: auto; }
      }
    `],d([g()],X.prototype,"places",2),d([g()],X.prototype,"problem",2),d([g()],X.prototype,"members",2),d([g()],X.prototype,"busy",2),d([g()],X.prototype,"gangProblem",2),X=d([b("xp-wall")],X);function Xi(){let s=location.hash.startsWith("#/wall")?"xp-wall":"xp-panel",i=document.querySelector("main");i?.firstElementChild?.localName!==s&&i?.replaceChildren(document.createElement(s))}addEventListener("hashchange",Xi);Xi();
